// Compiles the headers that the test programs share; see tests/CMakeLists.txt.
