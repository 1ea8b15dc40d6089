// The standard layout block of the native format: everything about a model
// that inference never reads but a person looking at it does. It stands
// under "extensions" as one "marlo" element:
//
//   <marlo version="1.0">
//     <name>, <comment>          the network's name and comment (escaped)
//     <creation creator=".." created=".." modified=".." />
//     <screen ... />             the root submodel's screen record
//     <documentation> <link title=".." path=".." /> ... </documentation>
//     <submodel id=".." >        nested as the submodels are, each with
//       <name>, <comment>, <screen />, and its own submodels
//     </submodel>
//     <node id=".." submodel=".."> with <name>, <comment>, <screen />,
//       <documentation>; one for each node, in the order of "nodes"
//   </marlo>
//
// A screen record is written as the attributes that differ from a fresh
// record, so an untouched one is an empty element. Names are written only
// where they differ from the identifier, which is what a new node has.
#ifndef ORVIL_NATIVE_LAYOUT_H
#define ORVIL_NATIVE_LAYOUT_H

#include <map>
#include <string>

class IXmlBinding;
class IXmlReader;
class QEL_network;

// The reading side, hung under "extensions" by XmlLoad.
class XmlMarloLoader {
public:
    virtual ~XmlMarloLoader() = default;
    // The binding of the "marlo" element; owned by the loader.
    virtual IXmlBinding* GetMarloRoot() = 0;
};

// A loader that fills `network` while `reader` reads, finding nodes by the
// identifiers of `ids` (the document's own map, which must outlive it).
XmlMarloLoader* XmlCreateMarloLoader(IXmlReader* reader, QEL_network* network, const std::map<std::string, int>& ids);

#endif
