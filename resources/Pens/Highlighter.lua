-- Yellow ink that darkens what is below instead of covering it.
name = "Highlighter"
key = "shift-h"
icon = "highlighter_icon"
icon_position = 5
menu_position = 50

color = "ffe135"
radius = 9
opacity = 0.9
mode = "darker"
