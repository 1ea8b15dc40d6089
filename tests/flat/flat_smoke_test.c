/*
 * The two smoke functions a build exports: test echoes its argument to
 * standard output, and the library's own main builds a one-node network
 * and writes "Woot!". The library's main is reached through the loaded
 * library itself, since this program's main shadows it.
 * Exit status 0 when every check holds.
 */
#define _POSIX_C_SOURCE 200809L

#include <dlfcn.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include "orvil/biorvil.h"
#include "flat_check.h"

/* Standard output of the calls between Capture and Release, into `text`. */
static FILE* captured;
static int savedOut;

static void Capture(void)
{
    fflush(stdout);
    captured = tmpfile();
    savedOut = dup(STDOUT_FILENO);
    dup2(fileno(captured), STDOUT_FILENO);
}

static void Release(char* text, size_t size)
{
    size_t length;

    fflush(stdout);
    dup2(savedOut, STDOUT_FILENO);
    close(savedOut);
    rewind(captured);
    length = fread(text, 1, size - 1, captured);
    text[length] = '\0';
    fclose(captured);
}

int main(void)
{
    static const char word[] = "echo me";
    char text[64];
    const char* back;
    void* library;
    int (*libraryMain)(void);

    Capture();
    back = test(word);
    Release(text, sizeof text);
    CHECK(back == word);
    CHECK(strcmp(text, "echo me\n") == 0);

    library = dlopen("liborvil.so.0", RTLD_NOW | RTLD_NOLOAD);
    CHECK(library != NULL);
    if (library != NULL) {
        *(void**)&libraryMain = dlsym(library, "main");
        CHECK(libraryMain != NULL && libraryMain != main);
        if (libraryMain != NULL && libraryMain != main) {
            Capture();
            CHECK(libraryMain() == 0);
            Release(text, sizeof text);
            CHECK(strcmp(text, "Woot!\n") == 0);
        }
        dlclose(library);
    }
    return failures == 0 ? 0 : 1;
}
