// XmlNetLoader: the reader behind XmlLoad. It is an XmlReader with a tree
// of bindings that describes the native format, and its own error handler,
// which logs every problem.
//
// Handlers act while the document streams by: a node element's start makes
// the node, its children collect outcomes, parents and table items into the
// per-node buffers below, and the element's end adds the arcs, gives the
// node its outcomes and hands over the table. Parents must therefore stand
// before their children in the file, which is how XmlSave writes them. The
// loader owns every binding it makes and frees them with itself.
#ifndef ORVIL_XML_LOAD_H
#define ORVIL_XML_LOAD_H

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "orvil/xmlbinding.h"
#include "orvil/xmlerrorhandler.h"
#include "orvil/xmlreader.h"
#include "xml/native_layout.h"

class QEL_network;
class QEL_nodeDefinition;
class QEL_doubleArray;

class XmlNetLoader : public XmlReader, public XmlErrorHandler {
public:
    using Binding = XmlHandler<XmlNetLoader>;

    // A node element: makes a node of `definitionType` at its start and
    // completes it at its end, calling the table's end action (`end`).
    class NodeBinding : public Binding {
    public:
        NodeBinding(XmlNetLoader* loader, const char* name, int definitionType, bool hasStates, Member endAction);
        void OnStartElement(IXmlReader* reader) override;
        void OnEndElement(IXmlReader* reader) override;

    private:
        int definitionType;
        bool hasStates;
    };

    explicit XmlNetLoader(QEL_network* network);
    ~XmlNetLoader() override;

    // Reads the file, or the text when `fileName` is null. `extension` as
    // for XmlLoad.
    bool Load(const char* fileName, const char* text, IXmlBinding* extension);

    // Node identifier to handle, for the layout block.
    const std::map<std::string, int>& IdMap() const { return idMap; }

private:
    friend class NodeBinding;

    // Building the tree.
    Binding* Make(const char* name, int flags, Binding::Member start = nullptr, Binding::Member end = nullptr,
                  Binding::Member item = nullptr);
    NodeBinding* MakeNode(const char* name, int definitionType, bool hasStates, Binding::Member endAction);
    void BuildTree(IXmlBinding* extension);
    XmlBinding* BuildNodes();
    XmlBinding* BuildObservationCost();
    XmlBinding* BuildDynamic();
    // Items of `doubles` as an engine array.
    void DoublesTo(QEL_doubleArray& items) const;

    // Stops the document with `text` (and ": '<detail>'" when given).
    void Fail(const std::string& text);
    void StdFail(const char* text, const std::string& detail);

    // Network-level handlers.
    void StartRoot(IXmlReader* r);
    void StartEpis(IXmlReader* r);
    void EndNetworkProperty(IXmlReader* r);
    void EndFunction(IXmlReader* r);
    void EndFunctions(IXmlReader* r);

    // Node handlers.
    void StartNode(int definitionType);
    void EndNode(bool hasStates, Binding::Member endAction);
    bool ReadNodeTypes(IXmlReader* r, int& diagType, int& temporalType);
    void ClearNodeState();
    void StartState(IXmlReader* r);
    void ParentItem(IXmlReader* r);
    void DoubleItem(IXmlReader* r);
    void StartTable(IXmlReader* r);
    void ResultingStateItem(IXmlReader* r);
    void StartProperty(IXmlReader* r);
    void EndNodeProperty(IXmlReader* r);
    void AddParentArcs(int type);
    bool GiveStates();
    void EndCpt(IXmlReader* r);
    void EndDeterministic(IXmlReader* r);

    // Observation costs.
    void StartCostNode(IXmlReader* r);
    void CostItem(IXmlReader* r);
    void EndCostNode(IXmlReader* r);

    // Temporal block.
    void StartDynamic(IXmlReader* r);
    void StartDynNode(IXmlReader* r);

    // Handle of `id`, or -1.
    int FindHandle(const std::string& id) const;

    QEL_network* network;
    std::vector<std::unique_ptr<XmlBinding>> bindings;
    std::unique_ptr<XmlMarloLoader> standardExtension;
    std::map<std::string, int> idMap;
    bool failed;

    // The node being read.
    int handle;
    QEL_nodeDefinition* definition;
    std::vector<std::string> stateIds;
    std::vector<std::string> stateLabels;
    std::vector<int> faultStates;
    int defaultState;
    std::vector<int> parents;
    std::vector<double> doubles;
    std::map<std::string, int> resultingIds;
    std::vector<std::string> resultingWords;
    std::vector<int> resultingStates;
    std::vector<std::string> functions;
    std::string propertyId;
};

#endif
