-- A wide, thin wash of colour that builds up over several strokes.
name = "Soft Brush"
key = "b"
icon = "brush_icon"
icon_position = 4
menu_position = 40

color = "b03a2e"
radius = 16
opacity = 0.3
mode = "normal"
