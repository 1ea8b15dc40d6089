// Fuzz target of the native model loader: arbitrary bytes are loaded as a
// model document through the network's own entry point, as a caller would.
// Besides memory faults it stops on a broken promise of the loader: a load
// succeeds exactly when no error was logged, at most one error is logged
// per document, and whatever the load left in the network can be saved,
// and a successful load saved and loaded again gives the same text.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "orvil/errors.h"
#include "orvil/network.h"

namespace {

void Check(bool condition) {
    if (!condition) abort();
}

int CountErrors() {
    int errors = 0;
    for (int i = 0; i < QEL_errorH().GetNumberOfErrors(); i++) {
        if (QEL_errorH().GetError(i) == QEL_FILE_IO_FAILED) errors++;
    }
    return errors;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    // The loader reads a zero-terminated text; bytes after a zero are not
    // part of the document.
    const std::string text(reinterpret_cast<const char*>(data), size);
    QEL_errorH().Flush();
    QEL_network net;
    const int status = net.ReadString(text.c_str(), nullptr);
    Check(status == 0 || status == QEL_FILE_IO_FAILED);
    Check(CountErrors() == (status == 0 ? 0 : 1));
    std::string saved;
    Check(net.WriteString(saved, nullptr) == 0);
    if (status == 0) {
        QEL_network again;
        QEL_errorH().Flush();
        Check(again.ReadString(saved.c_str(), nullptr) == 0);
        std::string resaved;
        again.WriteString(resaved, nullptr);
        Check(resaved == saved);
    }
    QEL_errorH().Flush();
    return 0;
}
