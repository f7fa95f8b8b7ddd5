#pragma once

#include "loopback/server.h"

#include <QElapsedTimer>

namespace loopback {

/**
 * A server to show the library with: "/query" and "/echo" answer with what they got, "/gzip" with
 * SampleText() compressed, "/flaky" drops connections at first, "/file" takes its time.
 */
class SampleServer : public Server
{
    Q_OBJECT

public:
    explicit SampleServer(QObject* parent = nullptr);

    /** What "/file" serves: random bytes, the same ones each time. */
    const QByteArray& File() const { return file_; }
    /** The next "/file" comes with a wrong byte. */
    void DamageNextFile() { damagesNext_ = true; }

private:
    Reply Serve(const Request& request);
    Reply ServeFile();

    QByteArray file_;
    bool damagesNext_ = false;
    QElapsedTimer sinceDrop_;
};

QByteArray SampleText();

/** Makes directories with small files, "folder 0/file 0" and so on. False if that failed. */
bool MakeSampleTree(const QString& root, int folders, int filesPerFolder);

} // namespace loopback
