// The XML reader's walk through a document: it feeds expat block by block
// and checks each element expat reports against the binding tree.
//
// One BindingState per open element sits on a stack: its binding (null
// inside an element that was skipped, so its whole subtree goes by
// unchecked and unreported), the children met so far, the text collected
// and the effective flags. The first error removes expat's callbacks and
// halts it, so nothing after it is checked, called or reported; the stack
// is emptied when the parse returns, whatever the outcome.
#include "orvil/xmlreader.h"

#include <expat.h>

#include <cstdio>
#include <cstring>

#include "xml/xml_streams.h"
#include "xml/xml_text.h"

namespace {

constexpr int blockSize = 4096;
constexpr int rootDefaultFlags = qel_xmlStrictAttributes | qel_xmlStrictChildren;

// "<head>'<name>'<middle>'<other>'" and the like, with names as Latin-1.
std::string Quoted(const char* head, const char* name, const char* middle = nullptr, const char* other = nullptr) {
    std::string text = head;
    text += '\'';
    text += XmlLatin1(name);
    text += '\'';
    if (middle == nullptr) return text;
    text += middle;
    text += '\'';
    text += XmlLatin1(other);
    text += '\'';
    return text;
}

}  // namespace

XmlReader::XmlReader()
    : root(nullptr), parser(nullptr), attributes(nullptr), stopped(false), errorHandler(nullptr) {}

XmlReader::~XmlReader() {
    EndDocument();
}

void XmlReader::Delete() {
    delete this;
}

IXmlBinding* XmlReader::CreateBinding(IXmlHandler* handler, const char* name, int flags) {
    return new XmlBinding(handler, name, flags);
}

bool XmlReader::ParseFile(const char* fileName, const IXmlBinding* rootBinding, IXmlErrorHandler* errors) {
    FILE* file = fileName ? fopen(fileName, "rb") : nullptr;
    if (file == nullptr) {
        if (errors) {
            std::string message = "Can't open file ";
            message += fileName ? fileName : "";
            errors->OnParseError(message.c_str(), 0, 0);
        }
        return false;
    }
    XmlInputFileStream stream(file);
    bool ok = ParseStream(&stream, rootBinding, errors);
    fclose(file);
    return ok;
}

bool XmlReader::ParseString(const char* text, const IXmlBinding* rootBinding, IXmlErrorHandler* errors) {
    if (text == nullptr) text = "";
    XmlInputStringStream stream(text, strlen(text));
    return ParseStream(&stream, rootBinding, errors);
}

bool XmlReader::ParseStream(IXmlInputStream* stream, const IXmlBinding* rootBinding, IXmlErrorHandler* errors) {
    // A handler that starts a second document on its own reader would pull
    // the parser from under the first one.
    if (parser != nullptr) {
        if (errors) errors->OnParseError("The reader is already reading a document", 0, 0);
        return false;
    }
    if (stream == nullptr) {
        if (errors) errors->OnParseError("No input to read", 0, 0);
        return false;
    }
    bool ok = BeginDocument(rootBinding, errors) && RunParser(stream);
    EndDocument();
    return ok;
}

bool XmlReader::BeginDocument(const IXmlBinding* rootBinding, IXmlErrorHandler* errors) {
    errorHandler = errors;
    stopped = false;
    root = dynamic_cast<const XmlBinding*>(rootBinding);
    if (root == nullptr) {
        if (errors) errors->OnParseError("No root binding to read the document by", 0, 0);
        return false;
    }
    parser = XML_ParserCreate(nullptr);
    if (parser == nullptr) {
        if (errors) errors->OnParseError("Can't create the XML parser", 0, 0);
        return false;
    }
    XML_SetUserData(parser, this);
    XML_SetElementHandler(parser, StartThunk, EndThunk);
    XML_SetCharacterDataHandler(parser, TextThunk);
    return true;
}

void XmlReader::EndDocument() {
    states.clear();
    attributes = nullptr;
    root = nullptr;
    errorHandler = nullptr;
    if (parser) XML_ParserFree(parser);
    parser = nullptr;
}

bool XmlReader::RunParser(IXmlInputStream* stream) {
    char buffer[blockSize];
    for (;;) {
        int got = stream->GetData(buffer, blockSize);
        if (got < 0 || got > blockSize) {
            OnParseError("Can't read the input", false);
            return false;
        }
        // The input ends with the first empty block; a short block is not
        // taken as the end, so that a stream may deliver in small pieces.
        bool last = got == 0;
        XML_Status status = XML_Parse(parser, buffer, got, last);
        if (stopped) return false;
        if (status != XML_STATUS_OK) {
            const char* message = XML_ErrorString(XML_GetErrorCode(parser));
            OnParseError(message ? message : "XML error", true);
            return false;
        }
        if (last) return true;
    }
}

void XmlReader::StartThunk(void* user, const char* name, const char** atts) {
    static_cast<XmlReader*>(user)->OnStartElement(name, atts);
}

void XmlReader::EndThunk(void* user, const char* name) {
    static_cast<XmlReader*>(user)->OnEndElement(name);
}

void XmlReader::TextThunk(void* user, const char* data, int length) {
    static_cast<XmlReader*>(user)->OnCharacterData(data, length);
}

void XmlReader::StopParse(const char* message) {
    OnParseError(message ? message : "", false);
}

void XmlReader::GetCurrentPosition(int& line, int& column) {
    line = 0;
    column = 0;
    if (parser == nullptr) return;
    line = static_cast<int>(XML_GetCurrentLineNumber(parser));
    column = static_cast<int>(XML_GetCurrentColumnNumber(parser));
}

void XmlReader::OnParseError(const char* message, bool expatStopped) {
    // Only the first error of a document is told: whatever follows it is
    // a consequence, and would hide the cause from a caller who reads the
    // newest entry of the log.
    if (stopped) return;
    if (errorHandler) {
        int line, column;
        GetCurrentPosition(line, column);
        errorHandler->OnParseError(message, line, column);
    }
    if (!expatStopped) OnDomainError();
}

void XmlReader::OnDomainError() {
    stopped = true;
    if (parser == nullptr) return;
    XML_SetElementHandler(parser, nullptr, nullptr);
    XML_SetCharacterDataHandler(parser, nullptr);
    XML_ParsingStatus status;
    XML_GetParsingStatus(parser, &status);
    // Halting expat keeps it from reporting a later syntax error of the
    // same block as a second error.
    if (status.parsing == XML_PARSING) XML_StopParser(parser, XML_FALSE);
}

void XmlReader::OnStartElement(const char* name, const char** atts) {
    if (stopped) return;
    const XmlBinding* binding = nullptr;
    if (states.empty()) {
        if (!ValidateRoot(name)) return;
        binding = root;
    } else {
        binding = ValidateChild(name);
        if (stopped) return;
    }
    EnterElement(binding, name, atts);
}

bool XmlReader::ValidateRoot(const char* name) {
    if (root->GetName() == name) return true;
    StopParse(Quoted("Unknown root element ", name, ", expected ", root->GetName().c_str()).c_str());
    return false;
}

const XmlBinding* XmlReader::ValidateChild(const char* name) {
    BindingState& top = states.back();
    if (top.binding == nullptr) return nullptr;
    const char* parent = top.binding->GetName().c_str();
    XmlBinding::ChildEntry child = top.binding->FindChild(name);
    if (child.first != nullptr) {
        bool first = top.seenChildren.insert(name).second;
        if (first || (child.second & qel_xmlMultiple)) return child.first;
        StopParse(Quoted("Multiple occurences of ", name, " not allowed in ", parent).c_str());
        return nullptr;
    }
    if (top.flags & qel_xmlStrictChildren) {
        StopParse(Quoted("Unknown element ", name, " in ", parent).c_str());
        return nullptr;
    }
    if (errorHandler) {
        int line, column;
        GetCurrentPosition(line, column);
        errorHandler->OnUnknownElement(XmlLatin1(name).c_str(), XmlLatin1(parent).c_str(), line, column);
    }
    return nullptr;
}

void XmlReader::EnterElement(const XmlBinding* binding, const char* name, const char** atts) {
    if (binding == nullptr) {
        states.push_back(BindingState{nullptr, {}, {}, 0});
        return;
    }
    int flags = binding->GetFlags();
    if (flags == qel_xmlInherit) flags = states.empty() ? rootDefaultFlags : states.back().flags;
    if (!ValidateAttributes(binding, name, atts, (flags & qel_xmlStrictAttributes) == 0)) return;
    // The state goes on the stack before the handler runs, so that the
    // handler sees the new element's (empty) text as the current content.
    states.push_back(BindingState{binding, {}, {}, flags});
    IXmlHandler* handler = binding->GetHandler();
    if (handler == nullptr) return;
    attributes = atts;
    handler->OnStartElement(this);
    attributes = nullptr;
}

bool XmlReader::ValidateAttributes(const XmlBinding* binding, const char* element, const char** atts, bool lenient) {
    // A missing attribute is reported ahead of unknown ones, whatever
    // their order in the tag.
    std::string missing = binding->FindMissingAttribute(atts);
    if (!missing.empty()) {
        StopParse(Quoted("Required attribute ", missing.c_str(), " not found in element ", element).c_str());
        return false;
    }
    for (const char** a = atts; a && *a; a += 2) {
        if (binding->FindAttribute(*a)) continue;
        if (!lenient) {
            StopParse(Quoted("Unknown attribute ", *a, " in element ", element).c_str());
            return false;
        }
        if (errorHandler) {
            int line, column;
            GetCurrentPosition(line, column);
            errorHandler->OnUnknownAttribute(XmlLatin1(element).c_str(), XmlLatin1(*a).c_str(), line, column);
        }
    }
    return true;
}

void XmlReader::OnCharacterData(const char* data, int length) {
    if (stopped || states.empty()) return;
    BindingState& top = states.back();
    // Nobody can ask for the text of a skipped element or of one without a
    // handler, so it is not kept.
    if (top.binding == nullptr || top.binding->GetHandler() == nullptr) return;
    if (top.binding->GetHandler()->ContainsList()) {
        CollectListItems(top, data, length);
        return;
    }
    top.content.append(data, static_cast<size_t>(length));
}

void XmlReader::CollectListItems(BindingState& state, const char* data, int length) {
    // Whitespace ends the item being collected, which may have begun in an
    // earlier piece of text; an item is handed over only when it is not
    // empty, so leading and repeated whitespace give nothing.
    const char* p = data;
    const char* end = data + length;
    while (p < end) {
        const char* tokenEnd = p;
        while (tokenEnd < end && !XmlIsSpace(*tokenEnd)) ++tokenEnd;
        state.content.append(p, tokenEnd);
        // A token that runs to the end of the data may go on in the next
        // piece expat delivers, or end at the closing tag.
        if (tokenEnd == end) return;
        DeliverListItem(state);
        if (stopped) return;
        p = tokenEnd;
        while (p < end && XmlIsSpace(*p)) ++p;
    }
}

void XmlReader::DeliverListItem(BindingState& state) {
    if (state.content.empty()) return;
    fromUTF8(state.content);
    state.binding->GetHandler()->OnListItem(this);
    state.content.clear();
}

void XmlReader::OnEndElement(const char* name) {
    if (stopped || states.empty()) return;
    BindingState& top = states.back();
    if (top.binding != nullptr) {
        IXmlHandler* handler = top.binding->GetHandler();
        if (handler != nullptr) {
            if (handler->ContainsList())
                DeliverListItem(top);
            else
                fromUTF8(top.content);
            if (stopped) return;
            handler->OnEndElement(this);
            if (stopped) return;
        }
        const XmlBinding* missing = top.binding->FindMissingChild(top.seenChildren);
        if (missing != nullptr) {
            StopParse(Quoted("Required element ", missing->GetName().c_str(), " not present in element ", name).c_str());
            return;
        }
    }
    states.pop_back();
}
