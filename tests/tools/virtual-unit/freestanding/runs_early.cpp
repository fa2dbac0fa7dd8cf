int first_value();

// Is set before the first call of anything.
int value = first_value();

int first_value()
{
    return value + 1;
}
