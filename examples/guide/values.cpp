#include "client.h"

#include <common/tools/qcompressor.h>
#include <common/tools/string/converter.h>
#include <common/tools/string/splitter.h>
#include <common/tools/version.h>

void Client::UseValues(const QByteArray& bytes, const QString& text)
{
    //! [gzip]
    QByteArray packed;
    if (tools::QCompressor::gzipCompress(bytes, packed, 9))
        Send(packed);
    //! [gzip]

    //! [version]
    const common::Version current("5.1.0.12");
    if (current.less("5.2")) // 5.2.0.0
        Offer(current.ToString());
    //! [version]

    //! [converter]
    tools::string::converter::ToHex("Az");         // "417a"
    tools::string::converter::ToUuidForm("Az", 2); // "{41-7a}"
    //! [converter]

    //! [splitter]
    const QStringList parts = tools::string::splitter::Utf8(text, 1024);
    //! [splitter]
    for (const QString& part : parts)
        Send(part.toUtf8());
}
