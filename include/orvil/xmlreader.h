// The XML reader: drives the expat stream parser over a document and checks
// it against a tree of bindings (orvil/xmlbinding.h).
//
// Input is read in blocks of 4096 bytes. Every element and attribute is
// checked against the bindings as it comes; text is collected per element,
// and the text of a list element is cut into whitespace-separated items
// that are handed over while parsing, so a large table never stands in
// memory as one string. Problems go to an IXmlErrorHandler with their line
// and column: undeclared elements and attributes of lenient elements are
// warnings and are skipped; everything else is an error, and the first
// error ends the document. Text reaches handlers as Latin-1, converted from
// the UTF-8 that expat delivers, with "?" for characters beyond Latin-1.
#ifndef ORVIL_XMLREADER_H
#define ORVIL_XMLREADER_H

#include <set>
#include <string>
#include <vector>

#include "orvil/xmlbinding.h"

struct XML_ParserStruct;

// A source of document bytes.
class IXmlInputStream {
public:
    virtual ~IXmlInputStream() = default;
    // Fills at most `size` bytes of `buffer`; returns the number delivered,
    // 0 at the end of the input, negative when the input cannot be read.
    virtual int GetData(char* buffer, int size) = 0;
};

// Receives the problems of a document. Positions are those expat reports:
// lines from 1, columns from 0.
class IXmlErrorHandler {
public:
    virtual ~IXmlErrorHandler() = default;
    // An error; the document ends with it.
    virtual void OnParseError(const char* message, int line, int column) = 0;
    // An undeclared element under a lenient parent; it is skipped with its
    // whole subtree.
    virtual void OnUnknownElement(const char* element, const char* parent, int line, int column) = 0;
    // An undeclared attribute of an element that is lenient about them.
    virtual void OnUnknownAttribute(const char* element, const char* attribute, int line, int column) = 0;
};

class IXmlReader {
public:
    virtual ~IXmlReader() = default;
    // Each parse reads a whole document against `root` and reports through
    // `errors` (null: nothing is reported). Each returns true when the
    // document was read to its end without an error. A null or foreign root
    // binding, a file that cannot be opened and a stream that cannot be
    // read are errors at line 0, column 0 (or at the position reached).
    virtual bool ParseFile(const char* fileName, const IXmlBinding* root, IXmlErrorHandler* errors) = 0;
    // A zero-terminated text; null reads as empty.
    virtual bool ParseString(const char* text, const IXmlBinding* root, IXmlErrorHandler* errors) = 0;
    virtual bool ParseStream(IXmlInputStream* stream, const IXmlBinding* root, IXmlErrorHandler* errors) = 0;

    // For handlers. Reports `message` as an error at the current position
    // and ends the document; nothing more is reported for that document.
    virtual void StopParse(const char* message) = 0;
    // The position expat has reached; 0, 0 outside a parse.
    virtual void GetCurrentPosition(int& line, int& column) = 0;
    // The text of the current element so far (all of it in OnEndElement);
    // the current item in OnListItem; empty in OnStartElement.
    virtual const char* GetContent() = 0;
    // GetContent() with backslash sequences undone: "\n" a newline, "\t" a
    // tab, a backslash before any other character that character; a
    // backslash at the very end stays.
    virtual void GetUnescapedContent(std::string& out) = 0;

    // Attributes of the element being started; only OnStartElement sees
    // them, elsewhere every attribute reads as absent.
    // The value as Latin-1, or an empty string when absent; true when present.
    virtual bool GetAttribute(const char* name, std::string& value) = 0;
    // Absent gives `defaultValue` and true. Only "true" and "false" are
    // accepted; anything else stops the parse and gives false.
    virtual bool GetAttribute(const char* name, bool& value, bool defaultValue) = 0;
    // Absent gives `defaultValue` and true. The value is read as a base-10
    // integer and stored at once; trailing text is tolerated after a non-zero
    // number, so "12abc" reads as 12, while "abc" or "0abc" stop the parse
    // and give false. Overflow is not diagnosed.
    virtual bool GetAttribute(const char* name, int& value, int defaultValue) = 0;
    // The same rule for a floating-point number.
    virtual bool GetAttribute(const char* name, double& value, double defaultValue) = 0;

    // A new plain binding, to be destroyed with its Delete().
    virtual IXmlBinding* CreateBinding(IXmlHandler* handler, const char* name, int flags) = 0;
    // Destroys a reader made with new.
    virtual void Delete() = 0;
};

class XmlReader : public IXmlReader {
public:
    XmlReader();
    ~XmlReader() override;
    XmlReader(const XmlReader&) = delete;
    XmlReader& operator=(const XmlReader&) = delete;

    bool ParseFile(const char* fileName, const IXmlBinding* root, IXmlErrorHandler* errors) override;
    bool ParseString(const char* text, const IXmlBinding* root, IXmlErrorHandler* errors) override;
    bool ParseStream(IXmlInputStream* stream, const IXmlBinding* root, IXmlErrorHandler* errors) override;
    void StopParse(const char* message) override;
    void GetCurrentPosition(int& line, int& column) override;
    const char* GetContent() override;
    void GetUnescapedContent(std::string& out) override;
    bool GetAttribute(const char* name, std::string& value) override;
    bool GetAttribute(const char* name, bool& value, bool defaultValue) override;
    bool GetAttribute(const char* name, int& value, int defaultValue) override;
    bool GetAttribute(const char* name, double& value, double defaultValue) override;
    IXmlBinding* CreateBinding(IXmlHandler* handler, const char* name, int flags) override;
    void Delete() override;

private:
    // One open element.
    struct BindingState {
        // Null inside an undeclared element: nothing below is checked.
        const XmlBinding* binding;
        std::set<std::string> seenChildren;
        // Text so far; in a list element, the item being collected.
        std::string content;
        // Effective binding flags.
        int flags;
    };

    static void StartThunk(void* user, const char* name, const char** attributes);
    static void EndThunk(void* user, const char* name);
    static void TextThunk(void* user, const char* data, int length);

    bool RunParser(IXmlInputStream* stream);
    bool BeginDocument(const IXmlBinding* root, IXmlErrorHandler* errors);
    void EndDocument();
    void OnStartElement(const char* name, const char** attributes);
    void OnEndElement(const char* name);
    void OnCharacterData(const char* data, int length);
    void OnParseError(const char* message, bool expatStopped);
    void OnDomainError();
    bool ValidateRoot(const char* name);
    const XmlBinding* ValidateChild(const char* name);
    void EnterElement(const XmlBinding* binding, const char* name, const char** attributes);
    bool ValidateAttributes(const XmlBinding* binding, const char* element, const char** attributes, bool lenient);
    void CollectListItems(BindingState& state, const char* data, int length);
    void DeliverListItem(BindingState& state);
    const char* FindRawAttribute(const char* name) const;

    std::vector<BindingState> states;
    const XmlBinding* root;
    XML_ParserStruct* parser;
    const char** attributes;
    bool stopped;
    IXmlErrorHandler* errorHandler;
};

// Compares a file's format version with the supported one, both read as
// numbers (so "1" equals "1.0"). A newer file stops the parse with a message
// that names both versions and points to the download address, and gives
// false; an older or equal one gives true. A null version reads as 0.
bool CheckVersion(IXmlReader* reader, const char* fileVersion, const char* supportedVersion);

// The two-line notice that tells where a newer version can be had.
const char* GetDownloadNewVersionMessage();

#endif
