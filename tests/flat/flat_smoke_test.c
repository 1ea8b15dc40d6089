/*
 * The two smoke functions a build exports: test echoes its argument to
 * standard output, and the library's own main builds a one-node network
 * and writes "Woot!". The library's main is reached through the loaded
 * library itself, since this program's main shadows it. Standard output
 * goes to a temporary file, read back at the end.
 * Exit status 0 when every check holds.
 */
#define _POSIX_C_SOURCE 200809L

#include <dlfcn.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include "orvil/biorvil.h"
#include "flat_check.h"

int main(void)
{
    static const char word[] = "echo me";
    char text[64];
    FILE* captured = tmpfile();
    void* library = dlopen("liborvil.so.0", RTLD_NOW | RTLD_NOLOAD);
    int (*libraryMain)(void) = NULL;

    CHECK(captured != NULL && library != NULL);
    if (captured == NULL || library == NULL)
        return 1;
    *(void**)&libraryMain = dlsym(library, "main");
    CHECK(libraryMain != NULL && libraryMain != main);
    if (libraryMain == NULL || libraryMain == main)
        return 1;
    fflush(stdout);
    dup2(fileno(captured), STDOUT_FILENO);
    CHECK(test(word) == word);
    CHECK(libraryMain() == 0);
    fflush(stdout);
    rewind(captured);
    text[fread(text, 1, sizeof text - 1, captured)] = '\0';
    CHECK(strcmp(text, "echo me\nWoot!\n") == 0);
    fclose(captured);
    dlclose(library);
    return failures == 0 ? 0 : 1;
}
