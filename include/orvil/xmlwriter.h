// XmlWriter: a small streaming XML writer that knows indentation and
// escaping, used to save models and usable alone.
//
// The writer keeps no stack of open elements: the caller names an element
// again to close it. Attributes are pushed before the element that carries
// them is opened, and that element writes and forgets them. Text is written
// byte for byte as the engine holds it, which is Latin-1, and a document
// started with a declaration says so. Element text may be escaped so that
// line breaks, tabs and backslashes survive a reading with
// IXmlReader::GetUnescapedContent.
#ifndef ORVIL_XMLWRITER_H
#define ORVIL_XMLWRITER_H

#include <cstdio>
#include <string>
#include <utility>
#include <vector>

// How OpenElement ends a tag and CloseElement closes one.
// An empty element "<name ... />" on a line of its own; closing writes nothing.
constexpr int qel_xmlEmptyElement = 0;
// A tag on its own line; what follows is indented one level deeper.
constexpr int qel_xmlBlockElement = 1;
// A tag with no line end, for text on the line of its tags.
constexpr int qel_xmlInlineElement = 2;

// Where the writer's text goes. The results tell whether the write worked;
// the writer itself does not look at them.
class IXmlWriterOutput {
public:
    virtual ~IXmlWriterOutput() = default;
    virtual bool WriteString(const char* text) = 0;
    virtual bool WriteChar(char c) = 0;
};

class IXmlWriter {
public:
    virtual ~IXmlWriter() = default;
    // Sets the output, not owned; with none, everything written is dropped.
    virtual void SetOutput(IXmlWriterOutput* output) = 0;
    // A block element: its tag on a line of its own, the content indented.
    virtual void OpenElement(const char* name) = 0;
    // Closes a block element on a line of its own.
    virtual void CloseElement(const char* name) = 0;
    // An element with text on one line; null content gives an empty element.
    // With `escape`, line breaks, tabs and backslashes are kept as backslash
    // sequences; without, control characters become ".".
    virtual void WriteElement(const char* name, const char* content, bool escape) = 0;
    // Attributes of the next element to be opened, in the order pushed.
    // Integers are written with "%d", doubles with "%.16g", booleans as
    // "true" or "false"; a null text as an empty value.
    virtual void PushAttribute(const char* name, const char* value) = 0;
    virtual void PushAttribute(const char* name, int value) = 0;
    virtual void PushAttribute(const char* name, bool value) = 0;
    virtual void PushAttribute(const char* name, double value) = 0;
    // Destroys a writer made with new.
    virtual void Delete() = 0;

    // Opens a block element when made and closes it when destroyed.
    class ScopedElement {
    public:
        ScopedElement(IXmlWriter* writer, const char* name);
        ~ScopedElement();
        ScopedElement(const ScopedElement&) = delete;
        ScopedElement& operator=(const ScopedElement&) = delete;

    private:
        IXmlWriter* writer;
        std::string name;
    };
};

class XmlWriter : public IXmlWriter {
public:
    explicit XmlWriter(IXmlWriterOutput* output = nullptr);

    // Starts a document at depth 0, with the declaration
    // <?xml version="1.0" encoding="ISO-8859-1"?> when asked.
    void Start(bool withDeclaration);
    // Start(true), then a stylesheet instruction naming `href`.
    void StartWithXsl(const char* href);
    // Start(true), then <!DOCTYPE root SYSTEM "system">.
    void StartWithDTD(const char* root, const char* system);

    void SetOutput(IXmlWriterOutput* out) override { output = out; }
    void OpenElement(const char* name) override;
    void CloseElement(const char* name) override;
    // Opens by a mode (qel_xmlEmptyElement, qel_xmlBlockElement,
    // qel_xmlInlineElement): the indent, the tag and the pending attributes,
    // then " />" and a line end, ">" and a line end with one level more, or
    // ">" alone.
    void OpenElement(const char* name, int mode);
    // Closes by a mode: nothing for an empty element; for a block element
    // one level less, the indent, the end tag and a line end; inline, the
    // end tag and a line end.
    void CloseElement(const char* name, int mode);
    void WriteElement(const char* name, const char* content, bool escape) override;
    void PushAttribute(const char* name, const char* value) override;
    void PushAttribute(const char* name, int value) override;
    void PushAttribute(const char* name, bool value) override;
    void PushAttribute(const char* name, double value) override;
    void Delete() override;

    // An inline element holding `count` numbers written with "%.16g" and
    // separated by one blank; a value equal to `specialValue` is written as
    // `specialText` instead, unless that is null.
    void WriteDoubleArray(const char* name, const double* values, int count, const char* specialText = nullptr,
                          double specialValue = 0);
    // An inline element holding `count` strings separated by one blank,
    // written as they are (they must need no escaping); null entries are
    // written as empty.
    void WriteStringArray(const char* name, const char* const* strings, int count);
    // "<!-- text -->" on a line of its own at the current indent.
    void WriteComment(const char* text);
    // Writes text with markup characters as entities. Control characters
    // become "."; with `escape`, a line break and a tab become "\n" and
    // "\t", a carriage return is dropped and a backslash doubled.
    void WriteContent(const char* text, bool escape);

    int GetDepth() const { return depth; }

private:
    void Write(const char* text);
    void Put(char c);
    void WriteIndent();

    IXmlWriterOutput* output;
    std::vector<std::pair<std::string, std::string>> attributes;
    int depth;
};

// Output to a file opened for writing in text mode.
class XmlWriterFileOutput : public IXmlWriterOutput {
public:
    XmlWriterFileOutput() : file(nullptr) {}
    ~XmlWriterFileOutput() override;
    XmlWriterFileOutput(const XmlWriterFileOutput&) = delete;
    XmlWriterFileOutput& operator=(const XmlWriterFileOutput&) = delete;

    // Opens (and truncates) the file, closing any file opened before;
    // false when it cannot be opened.
    bool Open(const char* fileName);
    // Closes the file; false when the file was not open or its buffered
    // text could not be written.
    bool Close();
    bool WriteString(const char* text) override;
    bool WriteChar(char c) override;

private:
    FILE* file;
};

// Output appended to a string owned by the caller.
class XmlWriterStringOutput : public IXmlWriterOutput {
public:
    explicit XmlWriterStringOutput(std::string* target) : target(target) {}
    bool WriteString(const char* text) override;
    bool WriteChar(char c) override;

private:
    std::string* target;
};

#endif
