name = "First"
color = "ff8000"
radius = 4
opacity = 0.5
mode = "Darker"
key = "command-x"
