// Only here so that the headers of GoogleTest, and others that many tests include, are compiled once with the flags of
// the tests.
