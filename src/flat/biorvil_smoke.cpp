// The two smoke checks a build exports, to show from any host language that
// the library loads and can build a network: test echoes its argument, and
// main builds a one-node network. main is exported under that very name on
// purpose; executables that define their own main still get theirs.
#include <stdio.h>

#include "orvil/biorvil.h"
#include "orvil/network.h"

const char* test(const char* arg) {
    printf("%s\n", arg);
    return arg;
}

extern "C" int main() {
    QEL_network net;
    net.AddNode(18, "Yay");
    printf("Woot!\n");
    return 0;
}
