stk.v.12.0
ScenarioEpoch 1 Mar 2026 00:00:00.000
CoordinateSystem TEMEOfDate
DistanceUnit Kilometers
EphemerisTimePosVel
0 7000 0 0 0 7.5 0
60 7001 0 0 0 7.5 0
[31m 7000 0 0 0 7.5 0
120 7002 0 0 0
180 7003 0 0 0 7.5 0
240 7004 0 0 0 7.5 0
end Ephemeris
