// The platform library is made of whole archives; CMake wants one source of its own.
