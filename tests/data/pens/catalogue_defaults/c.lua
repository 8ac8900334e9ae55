name = "Three"
default = true
