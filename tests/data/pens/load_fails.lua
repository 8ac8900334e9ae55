name = "Fails While Loading"
error("cannot start")
