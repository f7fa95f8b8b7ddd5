// What it costs to parse one text, beside the six patterns as they are written down, and libosip2.

#include "support/plainparser.h"

#include <common/tools/sip/sipid.h>

#include <QStringList>

#include <benchmark/benchmark.h>

#include <sys/time.h>

#include <osipparser2/osip_parser.h>

using tools::sip::SipId;

namespace {

// The time is that of one text: each turn takes the next one.
template <typename Function>
void ForEach(benchmark::State& state, const QStringList& texts, Function parse)
{
    int next = 0;
    while (state.KeepRunning()) {
        parse(texts[next]);
        next = next + 1 < texts.size() ? next + 1 : 0;
    }
}

void ParseByLibrary(benchmark::State& state, const QStringList& texts)
{
    QString user, host, displayName, postDial, port;
    ForEach(state, texts, [&](const QString& text) {
        SipId::ParseURIEx(text, user, host, displayName, postDial, port);
        benchmark::DoNotOptimize(user);
    });
}

void ParseByPatterns(benchmark::State& state, const QStringList& texts)
{
    ForEach(state, texts, [](const QString& text) { benchmark::DoNotOptimize(PlainParse(text)); });
}

void ParseByOsip(benchmark::State& state, const QStringList& texts)
{
    ForEach(state, texts, [](const QString& text) {
        osip_from_t* from = nullptr;
        osip_from_init(&from);
        benchmark::DoNotOptimize(osip_from_parse(from, text.toUtf8().constData()));
        osip_from_free(from);
    });
}

QStringList Repeated(int size)
{
    QStringList texts;
    for (const char* unit : {"a", "1", "a.", "@", "<", "\"", ",1", " ", "a@b.", "\"a\" <"}) {
        const QString part = QString::fromLatin1(unit);
        texts << part.repeated(size / part.size());
    }
    return texts;
}

// What all three can parse.
const QStringList addresses = {"\"Jane Roe\" <sip:jane.roe@example.com:5060;transport=tcp>",
                               "sip:jane@example.com", "<sip:jane.roe@sip.example.com:5061>",
                               "sip:+74955550123@example.com"};
const QStringList typical = {"jane.roe@sip.example.com:5061",
                             "+74955550123",
                             "+74955550123,,1 2 3#",
                             "skype:echo123",
                             "jane",
                             "+7 (495) 555-01-23"};
const QStringList junk = {"Meet you at 8, <b>not</b> later",
                          "http://example.com/?q=a@b",
                          "\"\"",
                          "Bob <sip:bob@example.com>",
                          "192.0.2.4:5060",
                          "a..b",
                          "@@@",
                          "%\t&"};

} // namespace

BENCHMARK_CAPTURE(ParseByLibrary, addresses, addresses)->Name("parse-address/qvcommon");
BENCHMARK_CAPTURE(ParseByPatterns, addresses, addresses)->Name("parse-address/patterns");
BENCHMARK_CAPTURE(ParseByOsip, addresses, addresses)->Name("parse-address/libosip2");
BENCHMARK_CAPTURE(ParseByLibrary, typical, typical)->Name("parse-other/qvcommon");
BENCHMARK_CAPTURE(ParseByPatterns, typical, typical)->Name("parse-other/patterns");
BENCHMARK_CAPTURE(ParseByLibrary, junk, junk)->Name("parse-junk/qvcommon");
BENCHMARK_CAPTURE(ParseByPatterns, junk, junk)->Name("parse-junk/patterns");
BENCHMARK_CAPTURE(ParseByLibrary, 1k, Repeated(1000))->Name("parse-long/qvcommon/1000");
BENCHMARK_CAPTURE(ParseByPatterns, 1k, Repeated(1000))->Name("parse-long/patterns/1000");
BENCHMARK_CAPTURE(ParseByLibrary, 10k, Repeated(10'000))->Name("parse-long/qvcommon/10000");
BENCHMARK_CAPTURE(ParseByPatterns, 10k, Repeated(10'000))->Name("parse-long/patterns/10000");
BENCHMARK_CAPTURE(ParseByLibrary, 100k, Repeated(100'000))->Name("parse-long/qvcommon/100000");
BENCHMARK_CAPTURE(ParseByPatterns, 100k, Repeated(100'000))->Name("parse-long/patterns/100000");

int main(int argc, char* argv[])
{
    parser_init();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
