stk.v.12.0
ScenarioEpoch 1 Mar 2026 00:00:00.000
CoordinateSystem TEMEOfDate
DistanceUnit Kilometers
EphemerisTimePosVel
0 7000 0 0 1 0 0
60 7060 0 0 1 0 0
120 7120 0 0 1 0 0
180 7180 0 0 0 0 0
240 7240 0 0 1 0 0
300 7300 0 0 1 0 0
360 7360 0 0 1 0 0
420 7420 0 0 1 0 0
END Ephemeris
