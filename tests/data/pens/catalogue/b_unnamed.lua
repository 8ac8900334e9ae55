-- No name: left out of the catalogue.
color = "00ff00"
