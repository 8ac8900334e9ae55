-- Lies outside the pen folders: scripts must not be able to load it.
secret_loaded = true
return "secret"
