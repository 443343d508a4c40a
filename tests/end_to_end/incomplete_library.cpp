// A library that needs a function which nobody has.

void functionOfNobody();

void (*neededFunction)() = functionOfNobody;
