name = "One"
