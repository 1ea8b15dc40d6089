// Bindings: the declared shape of an XML document.
//
// A client describes which element may hold which children and attributes
// as a tree of bindings, and hangs a handler on each one. The reader walks
// the document against this tree. A binding does not own its children, so
// one binding can serve under many parents (a `property` element allowed in
// several places, say), and a second tree can be hung into a first one.
// Bindings belong to whoever made them and must outlive every parse that
// uses them.
#ifndef ORVIL_XMLBINDING_H
#define ORVIL_XMLBINDING_H

#include <set>
#include <string>
#include <utility>
#include <vector>

class IXmlReader;

// Binding flags: how strictly an element's content is checked.
// An undeclared attribute is an error rather than a warning.
constexpr int qel_xmlStrictAttributes = 1;
// An undeclared child element is an error rather than a warning.
constexpr int qel_xmlStrictChildren = 2;
// Exactly this value: take the effective flags of the enclosing element
// (on the root, both strict bits).
constexpr int qel_xmlInherit = 4;

// Child flags: how often a child may occur.
// The child must occur at least once.
constexpr int qel_xmlRequired = 1;
// The child may occur more than once; without this bit, once at most.
constexpr int qel_xmlMultiple = 2;

// What the reader calls for an element. All text handed over through the
// reader is Latin-1.
class IXmlHandler {
public:
    virtual ~IXmlHandler() = default;
    // The element has started; its attributes can be read now, and only now.
    virtual void OnStartElement(IXmlReader* reader) = 0;
    // The element has ended; its whole text is in GetContent(). Runs before
    // the reader checks that the required children were present.
    virtual void OnEndElement(IXmlReader* reader) = 0;
    // One whitespace-separated item of a list element, in GetContent().
    virtual void OnListItem(IXmlReader* reader);
    // True when the element's text is a list to be cut into items.
    virtual bool ContainsList() const;
};

// The declaring side of a binding.
class IXmlBinding {
public:
    virtual ~IXmlBinding() = default;
    // Allows `child` under this element, with child flags (qel_xmlRequired,
    // qel_xmlMultiple). The child is not owned. A null child, or one that is
    // not an XmlBinding, is ignored.
    virtual void AddChild(const IXmlBinding* child, int flags) = 0;
    // Declares an attribute; a required one must be present.
    virtual void AddAttribute(const char* name, bool required) = 0;
    // Destroys a binding made by IXmlReader::CreateBinding.
    virtual void Delete() = 0;
};

class XmlBinding : public IXmlBinding {
public:
    // A binding for the element `name`, calling `handler` (not owned, may be
    // null for an element that only groups children), checked by `flags`
    // (qel_xmlStrictAttributes, qel_xmlStrictChildren, or qel_xmlInherit).
    XmlBinding(IXmlHandler* handler, const char* name, int flags);

    void AddChild(const IXmlBinding* child, int flags) override;
    void AddAttribute(const char* name, bool required) override;
    void Delete() override;

    using ChildEntry = std::pair<const XmlBinding*, int>;

    // The first child whose element name is `name`, with its child flags;
    // (null, 0) when there is none.
    ChildEntry FindChild(const char* name) const;
    // Whether the attribute `name` is declared.
    bool FindAttribute(const char* name) const;
    // The first required attribute, in declaration order, that the
    // attribute vector lacks (name, value pairs ended by a null name; a null
    // vector holds nothing); an empty string when none is missing.
    std::string FindMissingAttribute(const char* const* attributes) const;
    // The first required child, in declaration order, whose name `seen`
    // lacks; null when none is missing.
    const XmlBinding* FindMissingChild(const std::set<std::string>& seen) const;

    IXmlHandler* GetHandler() const { return handler; }
    const std::string& GetName() const { return name; }
    int GetFlags() const { return flags; }

protected:
    // For a binding that is its own handler, which cannot hand itself over
    // before it is built.
    void SetHandler(IXmlHandler* h) { handler = h; }

private:
    IXmlHandler* handler;
    std::string name;
    std::vector<ChildEntry> children;
    std::vector<std::pair<std::string, bool>> attributes;
    int flags;
};

// A binding that is its own handler: it forwards the three events to member
// functions of one object of type T. Any of the three may be null and is
// then skipped. Giving a list-item member is how a binding declares that its
// element holds a whitespace-separated list.
template <typename T>
class XmlHandler : public XmlBinding, public IXmlHandler {
public:
    using Member = void (T::*)(IXmlReader*);

    XmlHandler(T* instance, const char* elementName, int bindingFlags, Member onStart = nullptr,
               Member onEnd = nullptr, Member onListItem = nullptr)
        : XmlBinding(nullptr, elementName, bindingFlags),
          object(instance),
          start(onStart),
          end(onEnd),
          listItem(onListItem) {
        SetHandler(this);
    }

    void OnStartElement(IXmlReader* reader) override {
        if (start) (object->*start)(reader);
    }
    void OnEndElement(IXmlReader* reader) override {
        if (end) (object->*end)(reader);
    }
    void OnListItem(IXmlReader* reader) override {
        if (listItem) (object->*listItem)(reader);
    }
    bool ContainsList() const override { return listItem != nullptr; }

protected:
    // Open to bindings that replace an event but still call the members.
    T* object;
    Member start;
    Member end;
    Member listItem;
};

#endif
