// Compiled for its precompiled header, which the test programs share.
int main() {}
