// Fuzz target of the BIF reader: arbitrary bytes are read as a BIF model
// into a fresh network through the speaker's in-memory entry, inside the
// network's read bracket, just as a file read goes. Besides memory faults,
// hangs and escaping exceptions it stops on a broken promise of the reader:
// - a read succeeds exactly when nothing was logged; a failed read logs one
//   message, under its own status, which is one the reader documents, names
//   a line inside the text, and leaves the network empty, still able to be
//   saved and written as BIF;
// - a successful read leaves only ready nodes (the readiness pass that ends
//   a file read deletes none), and the pass after it logs nothing but
//   warnings about tables whose columns do not sum to one;
// - a model that read writes out as BIF, that text reads back, and the
//   network it gives writes the same text again.
// The first written text is not compared with the input: the writer chooses
// its own layout, numbers and quoting, so only its own output is a fixed
// point.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "orvil/bif.h"
#include "orvil/errors.h"
#include "orvil/network.h"

namespace {

// Names the broken promise before stopping, so that a crash report says
// which one it was without a debugger.
#define CHECK(condition) Check((condition), #condition, __LINE__)

void Check(bool condition, const char* what, int line) {
    if (condition) return;
    fprintf(stderr, "bif_reader_fuzz.cpp:%d: broken promise: %s\n", line, what);
    abort();
}

bool IsDocumentedStatus(int status) {
    switch (status) {
    case QEL_OKAY:
    case QEL_LEXICAL_ERROR:
    case QEL_SYNTAX_ERROR:
    case QEL_UNEXPECTED_EOF:
    case QEL_BAD_BLOCK:
    case QEL_DUPLICATED_IDENTIFIER:
    case QEL_TOO_FEW_STATES:
    case QEL_CYCLE_ERROR:
    case QEL_OUT_OF_MEMORY:
        return true;
    default:
        // -2 is documented too, but only for a network that refuses what
        // the checked model asks of it; a fresh network must never do so.
        return false;
    }
}

int CountNodes(QEL_network& net) {
    int count = 0;
    for (int h = net.GetFirstNode(); h >= 0; h = net.GetNextNode(h)) count++;
    return count;
}

// A refusal names the line it was found on, which must lie in the text.
bool NamesALineInside(const char* message, const char* text, size_t length) {
    if (message == nullptr || strncmp(message, "line ", 5) != 0) return false;
    const long line = strtol(message + 5, nullptr, 10);
    return line >= 1 && line <= 1 + std::count(text, text + length, '\n');
}

// Reads `length` bytes into `net` as ReadFile would, and checks what the
// reader logged before the bracket's own passes run.
int ReadBracketed(QEL_network& net, const char* text, size_t length) {
    QEL_errorH().Flush();
    QEL_bifSpeaker speaker(&net);
    const int kept = net.BeginRead(speaker);
    const int status = speaker.ReadNetworkFromBuffer(text, length);
    CHECK(IsDocumentedStatus(status));
    if (status == QEL_OKAY) {
        CHECK(QEL_errorH().GetNumberOfErrors() == 0);
    } else {
        CHECK(QEL_errorH().GetNumberOfErrors() == 1);
        CHECK(QEL_errorH().GetLastError() == status);
        CHECK(NamesALineInside(QEL_errorH().GetLastErrorMessage(), text, length));
        CHECK(CountNodes(net) == 0);
    }
    const int nodes = CountNodes(net);
    net.EndRead(status, kept);
    if (status == QEL_OKAY) {
        CHECK(CountNodes(net) == nodes);
        for (int i = 0; i < QEL_errorH().GetNumberOfErrors(); i++) {
            CHECK(QEL_errorH().GetError(i) == QEL_OBJECT_NOT_CONSISTENT);
        }
    }
    QEL_errorH().Flush();
    return status;
}

std::string WriteBif(QEL_network& net) {
    std::string text;
    CHECK(QEL_bifSpeaker(&net).WriteNetworkToString(text) == 0);
    return text;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    QEL_network net;
    const int status = ReadBracketed(net, reinterpret_cast<const char*>(data), size);
    std::string saved;
    CHECK(net.WriteString(saved, nullptr) == 0);
    const std::string written = WriteBif(net);
    if (status == QEL_OKAY) {
        QEL_network again;
        CHECK(ReadBracketed(again, written.data(), written.size()) == QEL_OKAY);
        CHECK(WriteBif(again) == written);
    }
    QEL_errorH().Flush();
    return 0;
}
