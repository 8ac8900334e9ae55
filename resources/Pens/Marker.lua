-- A broad, slightly see-through felt marker.
name = "Marker"
key = "m"
icon = "marker_icon"
icon_position = 3
menu_position = 30

color = "1f5fbf"
radius = 7
opacity = 0.8
mode = "normal"
