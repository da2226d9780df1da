// The least that a C++ program is, waiting.

#include <cstdio>
#include <iostream>

int main() {
    std::cout << "r" << std::flush;
    std::getchar();
}
