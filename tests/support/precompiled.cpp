// Compiles the headers that the test programs share; see the CMakeLists.txt above.
