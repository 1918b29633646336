start_pattern
number_of_lines 14
parameters
name line_type area frequency gauss_width zero_phase lorentz_width
M1   gauss 0.720 4890.2402 41.611 0.0
M2   gauss 0.280 4976.4339 47.555 0.0
M3   gauss 0.380 5029.9335 38.639 0.0
M4   gauss 0.380 5113.1551 44.583 0.0
M5   gauss 0.450 5223.1265 50.527 0.0
M6   gauss 0.360 5288.5149 50.527 0.0
M7   gauss 0.040 5377.6809 29.722 0.0
M8   gauss 0.090 5419.2917 29.722 0.0
M9   gauss 0.290 5505.4855 44.583 0.0
M10  gauss 0.110 5570.8738 35.666 0.0
M11  gauss 0.050 5692.7340 44.583 0.0
M12  gauss 0.720 5731.3726 74.305 0.0
M13  gauss 0.070 5764.0668 29.722 0.0
M14  gauss 0.380 5814.5942 44.583 0.0
comment
end_of_pattern
