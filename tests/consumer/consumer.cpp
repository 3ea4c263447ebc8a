// Uses the library from C++, with one function of each kind of name, plain and type-encoded.
#include <skewcorrection/skewcorrection.h>

int main() { return SIN_sin(30.0) == 0.5 && SIN[150] == 32768 && GetYfromRGB(0, 255, 0) == 149 ? 0 : 1; }
