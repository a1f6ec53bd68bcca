// The headers that all test programs share are compiled along with this.
int main() { return 0; }
