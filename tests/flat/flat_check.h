/*
 * The one check the C test programs share: a failed condition is printed
 * with its place and counted, and the program's exit status is the count
 * being zero, so every check of a run is reported, not only the first.
 */
#ifndef ORVIL_TESTS_FLAT_CHECK_H
#define ORVIL_TESTS_FLAT_CHECK_H

#include <stdio.h>

#define CPT_NODE 18

static int failures = 0;

#define CHECK(cond)                                                        \
    do {                                                                   \
        if (!(cond)) {                                                     \
            fprintf(stderr, "%s:%d: check failed: %s\n", __FILE__, __LINE__, #cond); \
            failures++;                                                    \
        }                                                                  \
    } while (0)

#endif
