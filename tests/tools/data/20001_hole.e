stk.v.12.0
ScenarioEpoch 1 Mar 2026 00:00:00.000
CoordinateSystem TEMEOfDate
DistanceUnit Kilometers
EphemerisTimePosVel
0 7000 0 0 1 0 0
60 7060 0 0 1 0 0
120 7120 0 0 1 0 0
180 7180 0 0 1 0 0
5040 12040 0 0 1 0 0
5100 12100 0 0 1 0 0
5160 12160 0 0 1 0 0
5220 12220 0 0 1 0 0
end Ephemeris
