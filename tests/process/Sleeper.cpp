// Prints a line and runs until its input ends.

#include <iostream>

int main() {
    std::cout << std::endl;
    std::cin.get();
}
