stk.v.12.0
ScenarioEpoch 1 Mar 2026 00:00:00.000
CoordinateSystem TEMEOfDate
DistanceUnit Kilometers
EphemerisTimePosVel
0 7000 0 0 1 0 0
60 7060 0 0 1 0 0
120 7120 0 0 1 0 0
180 7180 0 0 1 0 0
14580 21580 0 0 1 0 0
14640 21640 0 0 1 0 0
14700 21700 0 0 1 0 0
14760 21760 0 0 1 0 0
end Ephemeris
