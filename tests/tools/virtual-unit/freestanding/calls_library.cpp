// Looks harmless where there is a C library.
extern "C" int puts(const char *);

int sample()
{
    return puts("virtual unit");
}
