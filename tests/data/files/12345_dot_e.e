stk.v.12.0
* a comment
NumberOfEphemerisPoints  5
    ScenarioEpoch		 8 Dec 2025 12:00:00.000
CentralBody Earth
CoordinateSystem Fixed
DistanceUnit Meters
# worked by hand: the times are 12:00, 12:01, 12:03 and 12:04
EphemerisTimePosVelAcc

    0  7000000.0  0.0  -1500.5   0.0  7500.25 1e3   0.1 0.2 0.3
* another comment
 6.0e+001, 6999000, 449900.0, 0, -8.5, 7499, 1.0D+003, 9, 9, 9
   60  1 2 3 4 5 6 7 8 9
  120  1 2 three 4 5 6
  180,,,1000,,,2000
  240  1 2 3 4 5

end Ephemeris
trailing text that starts nothing
