// The compiler calls an operator of the library for this.
char *sample(unsigned size)
{
    return new char[size];
}
