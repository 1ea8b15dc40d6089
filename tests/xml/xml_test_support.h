// Helpers of the XML tests: a tree of bindings whose handlers record every
// event as one line of text, an error handler that keeps what it is told,
// and a stream that hands out a text in pieces of chosen sizes.
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
    void OnStartElement(IXmlReader* r) override { Record("start ", "", r, onStart); }
    void OnEndElement(IXmlReader* r) override { Record("end ", r->GetContent(), r, onEnd); }
    void OnListItem(IXmlReader* r) override { Record("item ", r->GetContent(), r, onItem); }
    bool ContainsList() const override { return list; }

    std::function<void(IXmlReader*)> onStart, onEnd, onItem;

private:
    void Record(const char* kind, const std::string& text, IXmlReader* r, const std::function<void(IXmlReader*)>& f) {
        log->push_back(kind + element + (*kind == 's' ? "" : " " + text));
        if (f) f(r);
    }
    std::string element;
    bool list;
    EventLog* log;
};

// Owns the bindings and handlers of one test; all record into `log`.
class Tree {
public:
    XmlBinding* Add(const char* name, int flags, bool list = false) {
        handlers.push_back(std::make_unique<RecordingHandler>(name, list, &log));
        bindings.push_back(std::make_unique<XmlBinding>(handlers.back().get(), name, flags));
        return bindings.back().get();
    }
    RecordingHandler& HandlerOf(const XmlBinding* binding) {
        return *static_cast<RecordingHandler*>(binding->GetHandler());
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
    std::vector<std::string> Texts() const {
        std::vector<std::string> texts;
        for (const Problem& p : problems) texts.push_back(p.text);
        return texts;
    }
    std::vector<Problem> problems;
};

// Hands out `text` in pieces whose sizes come from `sizes` in turn, the last
// one repeating.
class PieceStream : public IXmlInputStream {
public:
    PieceStream(std::string text, std::vector<int> sizes) : text(std::move(text)), sizes(std::move(sizes)) {}
    int GetData(char* buffer, int size) override {
        int want = sizes[std::min(next++, sizes.size() - 1)];
        int n = std::min({want, size, static_cast<int>(text.size() - pos)});
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

}  // namespace xmltest

#endif
