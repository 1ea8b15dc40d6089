// QEL_fileFormat: one model file format as the network's read and write
// entry points see it. The format classes (QEL_bifSpeaker, ...) share no
// base of their own; each is wrapped here in QEL_speakerFormat, which passes
// the calls on, so that ReadFile and WriteFile can hold any of them behind
// one pointer and the format classes stay free of the network's needs.
//
// Adding a format to the build is one case in QEL_createSpeaker
// (network_io_formats.cpp) plus its extension in the table there.
#ifndef ORVIL_NETWORK_IO_FORMATS_H
#define ORVIL_NETWORK_IO_FORMATS_H

#include <string>

class QEL_network;

class QEL_fileFormat {
public:
    virtual ~QEL_fileFormat() = default;
    virtual int ReadNetwork(const char* fileName) = 0;
    virtual int WriteNetwork(const char* fileName) = 0;
    virtual int ReadNetworkFromString(const char* text) = 0;
    virtual int WriteNetworkToString(std::string& text) = 0;
    virtual void SetUserExtension(void* extension) = 0;
    // Whether the reader makes ids unique, and refuses cycles, itself, so
    // that the network may skip its own tests while the reader builds.
    virtual bool SuppressIdInUse() const = 0;
    virtual bool SuppressAcyclic() const = 0;
};

template <class Speaker>
class QEL_speakerFormat : public QEL_fileFormat {
public:
    explicit QEL_speakerFormat(QEL_network* net) : speaker(net) {}
    int ReadNetwork(const char* fileName) override { return speaker.ReadNetwork(fileName); }
    int WriteNetwork(const char* fileName) override { return speaker.WriteNetwork(fileName); }
    int ReadNetworkFromString(const char* text) override { return speaker.ReadNetworkFromString(text); }
    int WriteNetworkToString(std::string& text) override { return speaker.WriteNetworkToString(text); }
    void SetUserExtension(void* extension) override { speaker.SetUserExtension(extension); }
    bool SuppressIdInUse() const override { return speaker.SuppressIdInUse(); }
    bool SuppressAcyclic() const override { return speaker.SuppressAcyclic(); }

private:
    Speaker speaker;
};

// The format number that the extension of `fileName` stands for (compared
// without regard to case), or -2 for a null name, a name without ".", or an
// extension of no format.
int QEL_formatFromFileName(const char* fileName);

// A new reader and writer of format `format` for `net`, owned by the
// caller; null (logged) for a number that names no format or a format that
// is not part of this build.
QEL_fileFormat* QEL_createSpeaker(int format, QEL_network* net);

#endif
