start_pattern
number_of_lines 1
parameters
name line_type area frequency gauss_width zero_phase lorentz_width
one lorentz 1.0 40.0 0.0 3.0
comment
end_of_pattern
