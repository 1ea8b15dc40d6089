// QEL_bifSpeaker: reads and writes networks in BIF, the plain-text format in
// which the common benchmark networks are shared.
//
// A BIF file declares discrete variables with their state names and gives
// each one a conditional table, either as one `table` list or as one row per
// parent configuration. Reading makes every variable a CPT node, with arcs
// from its parents in the order its probability block lists them, and its
// table in the engine's layout. Names that are not valid identifiers are
// made valid (a leading non-letter gets an "x" in front, other characters
// become "_", a clash gets the first free number from 2); the original text
// of a variable stays as the node's name, and that of a state as the
// state's label in the node's extra definition. Writing puts these original
// texts back wherever they still match the identifiers, so a file read and
// written again keeps its names.
//
// Every read is checked in full before the network is touched: a damaged
// text leaves the network as it was and logs one message with the line
// where the problem was found.
#ifndef ORVIL_BIF_H
#define ORVIL_BIF_H

#include <cstddef>
#include <string>

class QEL_network;

class QEL_bifSpeaker {
public:
    // A speaker for `net`, which it reads into and writes from; not owned.
    explicit QEL_bifSpeaker(QEL_network* net);

    // Reads the BIF file `fileName` into the network, replacing its nodes.
    // Returns 0 or a negative status, each logged with its reason:
    //   -100 the file cannot be opened or read;
    //   -126 a control character in the text (lexical error);
    //   -127 a token that does not fit the grammar;
    //   -128 the text ends inside a block, or holds no block;
    //   -129 an unknown variable, parent or state, a wrong number of
    //        states or values, a missing or repeated probability block or
    //        parent configuration, a probability outside [0, 1];
    //   -32  a variable, or a state of one variable, named twice;
    //   -19  a variable with fewer than two states;
    //   -11  parents that form a cycle;
    //   -42  a table larger than the engine can index;
    //   -2   no network to read into, or the network refused a node, an arc
    //        or a table (the nodes already made are then deleted).
    // Text errors leave the network untouched; messages start with the file
    // name and the line number.
    int ReadNetwork(const char* fileName);
    // The same for the `length` bytes of `text`, which need no terminating
    // zero. Messages start with the line number.
    int ReadNetworkFromBuffer(const char* text, size_t length);
    // The same for a zero-terminated `text`; null gives -2.
    int ReadNetworkFromString(const char* text);

    // Writes the network as BIF to `fileName`. Returns 0, or:
    //   -51  a node that has no conditional table of discrete outcomes
    //        (decision, utility and equation nodes); nothing is written;
    //   -101 the file cannot be written;
    //   -2   no network, or a table whose size does not fit its parents.
    // Nodes with a table computed from parameters (truth table, noisy-MAX,
    // noisy adder, DeMorgan, cast) are written as their expanded table and
    // read back as plain CPT nodes.
    int WriteNetwork(const char* fileName);
    // The same into `text`, which is replaced. Returns 0, -51 or -2.
    int WriteNetworkToString(std::string& text);

    // An opaque pointer handed over by the caller of a file operation; BIF
    // has no use for it and keeps it only so that every file format takes
    // the same arguments.
    void SetUserExtension(void* extension) { userExtension = extension; }
    void* GetUserExtension() const { return userExtension; }
    // The reader needs neither the network's identifier test nor its cycle
    // test: BIF names are made unique, and cycles refused, before any node
    // is made. A read switches both tests and the relevance hooks off while
    // it builds, and restores them afterwards.
    bool SuppressIdInUse() const { return true; }
    bool SuppressAcyclic() const { return true; }

private:
    int Read(const char* text, size_t length, const char* source);

    QEL_network* network;
    void* userExtension;
};

#endif
