// Convertit des degrés Celsius en Fahrenheit
#include <iostream>

int main() {
    double celsius = 0;
    while (std::cin >> celsius)
        std::cout << celsius * 9 / 5 + 32 << '\n';
}
