// Loads files of any content, with and without a key, and saves what it got.
#include "fuzz.h"

#include <common/tools/cipher/aes.h>
#include <common/tools/jsonfile/jsonfile.h>

#include <sys/mman.h>
#include <unistd.h>

using tools::JsonFile;

namespace {

// A file in memory, with a path.
const int file = memfd_create("json", 0);
const QString path = QStringLiteral("/proc/self/fd/%1").arg(file);

void Write(const QByteArray& content)
{
    EXPECT(ftruncate(file, 0) == 0);
    EXPECT(pwrite(file, content.constData(), size_t(content.size()), 0) == content.size());
}

QByteArray Plain(QByteArray content, const QString& key)
{
    if (key.isEmpty())
        return content;
    tools::cipher::AES::decrypt(key, content, content);
    while (content.endsWith('\0'))
        content.chop(1);
    return content;
}

void TrySave(const QJsonDocument& document, const QString& key)
{
    JsonFile saved(path, document, key);
    const bool result = saved.Save();
    EXPECT(result == (key.toUtf8().size() <= 32));
    JsonFile again(path, key);
    EXPECT(again.Load());
    EXPECT(!result || again == QJsonDocument::fromJson(document.toJson()));

    QString text;
    QTextStream stream(&text);
    stream << document.object() << document.array() << document["a"] << document[0];
    EXPECT(text.contains("(undefined)") || text.size() > 4);
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    Input input(data, size);
    const QString key = QString(input.Number(0, 40), QChar(input.Number(1, 0x7FF)));
    const QByteArray content = input.Rest();
    Write(content);
    JsonFile loaded(path, key);
    EXPECT(loaded.Load());
    EXPECT(loaded == QJsonDocument::fromJson(Plain(content, key)));

    TrySave(QJsonDocument::fromJson(content), key);
    return 0;
}
