name = "Two"
default = true
