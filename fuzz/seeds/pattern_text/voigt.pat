 number_of_lines 1 parameters name line_type area frequency gauss_width zero_phase lorentz_width
v voigt 1.0 100.0 4.0 0.0 3.0
x end_of_pattern
