// A program that does nothing: what starting one in C++ costs, with the libraries that all of them load.
#include <iostream>

int main() {}
