 number_of_lines 1 parameters name line_type area frequency gauss_width zero_phase lorentz_width
a lorentz 1 1e38 1e30 -1e30
x end_of_pattern
