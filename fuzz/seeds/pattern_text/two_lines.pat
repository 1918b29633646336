 number_of_lines 2 parameters name line_type area frequency gauss_width zero_phase lorentz_width
a lorentz 1.0 100.0 0.0 3.0
b gauss 0.5 110.0 4.0 0.0
comment end_of_pattern
