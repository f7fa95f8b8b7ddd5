// Gzip, message splitting and JSON files, beside the plain calls that they are made of.

#include <common/tools/jsonfile/jsonfile.h>
#include <common/tools/qcompressor.h>
#include <common/tools/string/splitter.h>

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRandomGenerator>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <libdeflate.h>
#include <vector>
#include <zlib.h>

namespace {

constexpr int gzipWindowBits = 15 + 16;

// Words of a small vocabulary: shrinks to about a quarter, as logs and JSON do.
QByteArray Prose(qint64 size)
{
    QRandomGenerator random(1);
    constexpr int vocabulary = 2000;
    std::vector<QByteArray> words;
    words.reserve(vocabulary);
    for (int i = 0; i < vocabulary; ++i)
        words.push_back(QByteArray::number(random.generate(), 36) + ' ');
    QByteArray text;
    text.reserve(static_cast<int>(size) + 16);
    while (text.size() < size)
        text += words[random.bounded(static_cast<quint32>(words.size()))];
    text.truncate(static_cast<int>(size));
    return text;
}

const QByteArray& Packed(qint64 size)
{
    static QMap<qint64, QByteArray> packed;
    QByteArray& result = packed[size];
    if (result.isEmpty())
        tools::QCompressor::gzipCompress(Prose(size), result, -1);
    return result;
}

Bytef* Bytes(const QByteArray& array)
{
    return reinterpret_cast<Bytef*>(const_cast<char*>(array.constData()));
}

void CompressByLibrary(benchmark::State& state)
{
    const QByteArray text = Prose(state.range(0));
    while (state.KeepRunning()) {
        QByteArray packed;
        if (!tools::QCompressor::gzipCompress(text, packed, -1))
            state.SkipWithError("failed");
    }
}

void CompressByZlib(benchmark::State& state)
{
    const QByteArray text = Prose(state.range(0));
    while (state.KeepRunning()) {
        z_stream z = {};
        deflateInit2(&z, -1, Z_DEFLATED, gzipWindowBits, 8, Z_DEFAULT_STRATEGY);
        const auto bound = deflateBound(&z, static_cast<uLong>(text.size()));
        QByteArray packed(static_cast<int>(bound), Qt::Uninitialized);
        z.next_in = Bytes(text);
        z.avail_in = static_cast<uInt>(text.size());
        z.next_out = Bytes(packed);
        z.avail_out = static_cast<uInt>(packed.size());
        if (deflate(&z, Z_FINISH) != Z_STREAM_END)
            state.SkipWithError("failed");
        packed.truncate(static_cast<int>(z.total_out));
        deflateEnd(&z);
    }
}

void CompressByLibdeflate(benchmark::State& state)
{
    const QByteArray text = Prose(state.range(0));
    const auto size = static_cast<std::size_t>(text.size());
    while (state.KeepRunning()) {
        libdeflate_compressor* compressor = libdeflate_alloc_compressor(6);
        const auto bound = libdeflate_gzip_compress_bound(compressor, size);
        QByteArray packed(static_cast<int>(bound), Qt::Uninitialized);
        const auto used =
            libdeflate_gzip_compress(compressor, text.constData(), size, packed.data(), bound);
        packed.truncate(static_cast<int>(used));
        libdeflate_free_compressor(compressor);
    }
}

void DecompressByLibrary(benchmark::State& state)
{
    const QByteArray packed = Packed(state.range(0));
    while (state.KeepRunning()) {
        QByteArray text;
        if (!tools::QCompressor::gzipDecompress(packed, text))
            state.SkipWithError("failed");
    }
}

// The size is known to these two from the start, as it is to nobody who gets gzip from elsewhere.
void DecompressByZlib(benchmark::State& state)
{
    const QByteArray packed = Packed(state.range(0));
    while (state.KeepRunning()) {
        QByteArray text(static_cast<int>(state.range(0)), Qt::Uninitialized);
        z_stream z = {};
        inflateInit2(&z, gzipWindowBits);
        z.next_in = Bytes(packed);
        z.avail_in = static_cast<uInt>(packed.size());
        z.next_out = Bytes(text);
        z.avail_out = static_cast<uInt>(text.size());
        if (inflate(&z, Z_FINISH) != Z_STREAM_END)
            state.SkipWithError("failed");
        inflateEnd(&z);
    }
}

void DecompressByLibdeflate(benchmark::State& state)
{
    const QByteArray packed = Packed(state.range(0));
    while (state.KeepRunning()) {
        QByteArray text(static_cast<int>(state.range(0)), Qt::Uninitialized);
        libdeflate_decompressor* decompressor = libdeflate_alloc_decompressor();
        if (libdeflate_gzip_decompress(decompressor, packed.constData(),
                                       static_cast<std::size_t>(packed.size()), text.data(),
                                       static_cast<std::size_t>(text.size()), nullptr) != 0)
            state.SkipWithError("failed");
        libdeflate_free_decompressor(decompressor);
    }
}

// A megabyte of messages in two alphabets.
QString Messages()
{
    const QString line = QStringLiteral("Meet you at 8 — до встречи! ");
    return line.repeated((1 << 20) / line.toUtf8().size());
}

void SplitByLibrary(benchmark::State& state)
{
    const QString text = Messages();
    const int limit = static_cast<int>(state.range(0));
    while (state.KeepRunning())
        benchmark::DoNotOptimize(tools::string::splitter::Utf8(text, limit));
}

void SplitByToUtf8(benchmark::State& state)
{
    const QString text = Messages();
    while (state.KeepRunning())
        benchmark::DoNotOptimize(text.toUtf8());
}

QString JsonPath()
{
    const QString shared = QStringLiteral("/dev/shm");
    static const QTemporaryDir directory((QDir(shared).exists() ? shared : QDir::tempPath()) +
                                         QStringLiteral("/bench-XXXXXX"));
    return directory.filePath(QStringLiteral("contacts.json"));
}

QJsonDocument Contacts(qint64 size)
{
    QJsonArray contacts;
    const qint64 count = size / 170;
    for (qint64 i = 0; i < count; ++i) {
        contacts.append(QJsonObject{{"name", QStringLiteral("Jane Roe %1").arg(i)},
                                    {"number", QStringLiteral("+7495555%1").arg(i)},
                                    {"address", QStringLiteral("sip:jane%1@example.test").arg(i)},
                                    {"favourite", i % 7 == 0}});
    }
    return QJsonDocument(QJsonObject{{"contacts", contacts}});
}

void SaveByLibrary(benchmark::State& state, const char* key)
{
    tools::JsonFile file(JsonPath(), Contacts(state.range(0)), QString::fromLatin1(key));
    while (state.KeepRunning()) {
        if (!file.Save())
            state.SkipWithError("failed");
    }
}

void SaveByQt(benchmark::State& state)
{
    const QJsonDocument document = Contacts(state.range(0));
    while (state.KeepRunning()) {
        QFile file(JsonPath());
        if (!file.open(QIODevice::WriteOnly) || file.write(document.toJson()) < 0)
            state.SkipWithError("failed");
    }
}

void LoadByLibrary(benchmark::State& state, const char* key)
{
    tools::JsonFile(JsonPath(), Contacts(state.range(0)), QString::fromLatin1(key)).Save();
    while (state.KeepRunning()) {
        tools::JsonFile file(JsonPath(), QString::fromLatin1(key));
        if (!file.Load() || file.isNull())
            state.SkipWithError("failed");
    }
}

void LoadByQt(benchmark::State& state)
{
    tools::JsonFile(JsonPath(), Contacts(state.range(0)), QString()).Save();
    while (state.KeepRunning()) {
        QFile file(JsonPath());
        if (!file.open(QIODevice::ReadOnly) || QJsonDocument::fromJson(file.readAll()).isNull())
            state.SkipWithError("failed");
    }
}

void GzipSizes(benchmark::internal::Benchmark* benchmark)
{
    benchmark->Arg(1 << 10)->Arg(1 << 20)->Arg(64 << 20);
}

void Limits(benchmark::internal::Benchmark* benchmark)
{
    benchmark->Arg(140)->Arg(4096)->Arg(65536);
}

void JsonSizes(benchmark::internal::Benchmark* benchmark)
{
    benchmark->Arg(100'000)->Arg(1'000'000)->Arg(10'000'000);
}

} // namespace

BENCHMARK(CompressByLibrary)->Name("gzip/qvcommon")->Apply(GzipSizes);
BENCHMARK(CompressByZlib)->Name("gzip/zlib")->Apply(GzipSizes);
BENCHMARK(CompressByLibdeflate)->Name("gzip/libdeflate")->Apply(GzipSizes);
BENCHMARK(DecompressByLibrary)->Name("gunzip/qvcommon")->Apply(GzipSizes);
BENCHMARK(DecompressByZlib)->Name("gunzip/zlib")->Apply(GzipSizes);
BENCHMARK(DecompressByLibdeflate)->Name("gunzip/libdeflate")->Apply(GzipSizes);
BENCHMARK(SplitByLibrary)->Name("split/qvcommon")->Apply(Limits);
BENCHMARK(SplitByToUtf8)->Name("split/toUtf8")->Apply(Limits);
BENCHMARK_CAPTURE(SaveByLibrary, plain, "")->Name("json-save/qvcommon")->Apply(JsonSizes);
BENCHMARK_CAPTURE(SaveByLibrary, key, "secret")->Name("json-save-key/qvcommon")->Apply(JsonSizes);
BENCHMARK(SaveByQt)->Name("json-save/QJsonDocument")->Apply(JsonSizes);
BENCHMARK_CAPTURE(LoadByLibrary, plain, "")->Name("json-load/qvcommon")->Apply(JsonSizes);
BENCHMARK_CAPTURE(LoadByLibrary, key, "secret")->Name("json-load-key/qvcommon")->Apply(JsonSizes);
BENCHMARK(LoadByQt)->Name("json-load/QJsonDocument")->Apply(JsonSizes);

BENCHMARK_MAIN();
