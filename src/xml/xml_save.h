// XmlNetworkSaver: the writer behind XmlSave. An XmlWriter that walks the
// network once, in the order the native format needs for a streaming
// reader, and visits each node's definition to write the element of its
// kind.
#ifndef ORVIL_XML_SAVE_H
#define ORVIL_XML_SAVE_H

#include "orvil/nodedefvisitor.h"
#include "orvil/xmlwriter.h"

class QEL_network;
class QEL_cpt;
class QEL_intArray;
class QEL_userProperties;
class IXmlWriterExtension;

class XmlNetworkSaver : public XmlWriter, public QEL_nodeDefVisitor {
public:
    // A saver of `network` writing to `output`, with `extension` (null for
    // none) under "extensions".
    XmlNetworkSaver(QEL_network* network, IXmlWriterOutput* output, IXmlWriterExtension* extension);

    // Writes the whole document.
    void DoSave();

    void Visit(QEL_cpt* definition) override;
    void Visit(QEL_truthTable* definition) override;
    using QEL_nodeDefVisitor::Visit;

private:
    void PushRootAttributes();
    void SaveProperties(const QEL_userProperties& properties);
    void SaveNodes();
    void SaveObservationCosts();
    // Opens the node element of `definition` as `name` with its attributes,
    // its outcomes when `withStates`, its parents, and its whole table as
    // `tableName` when that is not null.
    void StartNode(QEL_cpt* definition, const char* name, const char* tableName, bool withStates);
    void SaveStates(QEL_cpt* definition);
    void SaveParents(const QEL_intArray& parents);

    QEL_network* network;
    IXmlWriterExtension* extension;
    // The element of the node being written, for its closing tag.
    const char* nodeElement;
};

#endif
