name = "Four"
default = false
