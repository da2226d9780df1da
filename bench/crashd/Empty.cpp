// The smallest C++ program, waiting.

#include <cstdio>
#include <iostream>

int main() {
    std::cout << "r" << std::flush;
    std::getchar();
}
