start_pattern number_of_lines 1 parameters name line_type area frequency gauss_width zero_phase width
