 number_of_lines 2147483647 parameters name line_type area frequency gauss_width zero_phase lorentz_width
a gauss nan inf 1e38 1e-45
