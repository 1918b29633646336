start_pattern number_of_lines 1 parameters name line_type area frequency gauss_width zero_phase lorentz_width
a voight 1 2 3 4 5
