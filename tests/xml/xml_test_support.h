// Helpers of the XML tests: a handler that records every event it gets as
// one line of text, a tree that owns the bindings of a test document, an
// error handler that keeps what it is told, and a stream that hands out a
// text in pieces of chosen sizes.
#ifndef ORVIL_TESTS_XML_TEST_SUPPORT_H
#define ORVIL_TESTS_XML_TEST_SUPPORT_H

#include <algorithm>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "orvil/xmlreader.h"

namespace xmltest {

// Lines "start x", "item x <text>", "end x <text>", in order of arrival.
using EventLog = std::vector<std::string>;

class RecordingHandler : public IXmlHandler {
public:
    RecordingHandler(std::string element, bool list, EventLog* log) : element(std::move(element)), list(list), log(log) {}
    void OnStartElement(IXmlReader* reader) override {
        log->push_back("start " + element);
        if (onStart) onStart(reader);
    }
    void OnEndElement(IXmlReader* reader) override {
        log->push_back("end " + element + " " + reader->GetContent());
        if (onEnd) onEnd(reader);
    }
    void OnListItem(IXmlReader* reader) override {
        log->push_back("item " + element + " " + reader->GetContent());
        if (onItem) onItem(reader);
    }
    bool ContainsList() const override { return list; }

    std::function<void(IXmlReader*)> onStart, onEnd, onItem;

private:
    std::string element;
    bool list;
    EventLog* log;
};

// Owns the bindings and handlers of one test; every binding records into
// `log`.
class Tree {
public:
    XmlBinding* Add(const char* name, int flags, bool list = false) {
        handlers.push_back(std::make_unique<RecordingHandler>(name, list, &log));
        bindings.push_back(std::make_unique<XmlBinding>(handlers.back().get(), name, flags));
        return bindings.back().get();
    }
    RecordingHandler* HandlerOf(const XmlBinding* binding) {
        for (size_t i = 0; i < bindings.size(); ++i) {
            if (bindings[i].get() == binding) return handlers[i].get();
        }
        return nullptr;
    }
    EventLog log;

private:
    std::vector<std::unique_ptr<RecordingHandler>> handlers;
    std::vector<std::unique_ptr<XmlBinding>> bindings;
};

struct Problem {
    std::string kind;  // "error", "element" or "attribute"
    std::string text;  // message, "element in parent" or "attribute in element"
    int line;
    int column;
};

class RecordingErrors : public IXmlErrorHandler {
public:
    void OnParseError(const char* message, int line, int column) override {
        problems.push_back({"error", message, line, column});
    }
    void OnUnknownElement(const char* element, const char* parent, int line, int column) override {
        problems.push_back({"element", std::string(element) + " in " + parent, line, column});
    }
    void OnUnknownAttribute(const char* element, const char* attribute, int line, int column) override {
        problems.push_back({"attribute", std::string(attribute) + " in " + element, line, column});
    }
    int Count(const char* kind) const {
        int n = 0;
        for (const Problem& p : problems) n += p.kind == kind;
        return n;
    }
    std::vector<Problem> problems;
};

// Hands out `text` in pieces whose sizes come from `sizes` in turn (the
// last size repeating), each at most what the reader asks for.
class PieceStream : public IXmlInputStream {
public:
    PieceStream(std::string text, std::vector<int> sizes) : text(std::move(text)), sizes(std::move(sizes)) {}
    int GetData(char* buffer, int size) override {
        int want = sizes.empty() ? size : sizes[next < sizes.size() ? next : sizes.size() - 1];
        ++next;
        int left = static_cast<int>(text.size() - pos);
        int n = std::min(std::min(want, size), left);
        memcpy(buffer, text.data() + pos, static_cast<size_t>(n));
        pos += static_cast<size_t>(n);
        return n;
    }

private:
    std::string text;
    std::vector<int> sizes;
    size_t next = 0;
    size_t pos = 0;
};

// Line (from 1) and column (from 0) of the first occurrence of `needle`,
// counted the way expat counts them in plain ASCII text.
inline std::pair<int, int> PositionOf(const std::string& text, const std::string& needle) {
    size_t at = text.find(needle);
    int line = 1;
    int column = 0;
    for (size_t i = 0; i < at && i < text.size(); ++i) {
        if (text[i] == '\n') {
            ++line;
            column = 0;
        } else {
            ++column;
        }
    }
    return {line, column};
}

}  // namespace xmltest

#endif
