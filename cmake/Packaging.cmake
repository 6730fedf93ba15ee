# Headers, library, CMake package and pkg-config file.
