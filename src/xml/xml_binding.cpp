// Bindings: one element's declared children and attributes. The lists are
// short (a handful of entries), so lookups are linear scans in declaration
// order, which is also the order in which missing entries are reported.
#include "orvil/xmlbinding.h"

void IXmlHandler::OnListItem(IXmlReader*) {}

bool IXmlHandler::ContainsList() const {
    return false;
}

XmlBinding::XmlBinding(IXmlHandler* handler, const char* name, int flags)
    : handler(handler), name(name ? name : ""), flags(flags) {}

void XmlBinding::AddChild(const IXmlBinding* child, int childFlags) {
    // The reader needs a child's name and handler, which only an XmlBinding
    // carries.
    const XmlBinding* binding = dynamic_cast<const XmlBinding*>(child);
    if (binding == nullptr) return;
    children.emplace_back(binding, childFlags);
}

void XmlBinding::AddAttribute(const char* attributeName, bool required) {
    if (attributeName == nullptr) return;
    attributes.emplace_back(attributeName, required);
}

void XmlBinding::Delete() {
    delete this;
}

XmlBinding::ChildEntry XmlBinding::FindChild(const char* childName) const {
    if (childName == nullptr) return ChildEntry(nullptr, 0);
    for (const ChildEntry& child : children) {
        if (child.first->GetName() == childName) return child;
    }
    return ChildEntry(nullptr, 0);
}

bool XmlBinding::FindAttribute(const char* attributeName) const {
    if (attributeName == nullptr) return false;
    for (const auto& attribute : attributes) {
        if (attribute.first == attributeName) return true;
    }
    return false;
}

std::string XmlBinding::FindMissingAttribute(const char* const* present) const {
    for (const auto& attribute : attributes) {
        if (!attribute.second) continue;
        bool found = false;
        for (const char* const* a = present; a && *a && !found; a += 2) found = attribute.first == *a;
        if (!found) return attribute.first;
    }
    return std::string();
}

const XmlBinding* XmlBinding::FindMissingChild(const std::set<std::string>& seen) const {
    for (const ChildEntry& child : children) {
        if ((child.second & qel_xmlRequired) && seen.count(child.first->GetName()) == 0) return child.first;
    }
    return nullptr;
}
