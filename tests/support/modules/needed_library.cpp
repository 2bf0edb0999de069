// A library that a module needs for its name alone.
