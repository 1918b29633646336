start_pattern
number_of_lines 9
parameters
name line_type area frequency gauss_width zero_phase lorentz_width
acetyl   lorentz 3.0000 5213.6155 0.0 1.0
beta1a   lorentz 0.2500 5401.4511 0.0 1.0
beta1b   lorentz 0.2500 5405.3121 0.0 1.0
beta1c   lorentz 0.2500 5417.0431 0.0 1.0
beta1d   lorentz 0.2500 5420.9041 0.0 1.0
beta2a   lorentz 0.2500 5343.0693 0.0 1.0
beta2b   lorentz 0.2500 5352.8903 0.0 1.0
beta2c   lorentz 0.2500 5358.6613 0.0 1.0
beta2d   lorentz 0.2500 5368.4823 0.0 1.0
comment
end_of_pattern
