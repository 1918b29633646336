start_pattern number_of_lines 1000000000 parameters name line_type area frequency gauss_width zero_phase lorentz_width
a voigt 1 2 3 4 5
