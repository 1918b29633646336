start_pattern lines 1
