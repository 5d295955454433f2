// Only here so that the headers of GoogleTest are compiled once, with the flags of the tests.
