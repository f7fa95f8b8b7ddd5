// What it costs to parse one text.

#include <common/tools/sip/sipid.h>

#include <QStringList>

#include <benchmark/benchmark.h>

using tools::sip::SipId;

namespace {

void Parse(benchmark::State& state, const QStringList& texts)
{
    QString user, host, displayName, postDial, port;
    while (state.KeepRunning()) {
        for (const QString& text : texts) {
            SipId::ParseURIEx(text, user, host, displayName, postDial, port);
            benchmark::DoNotOptimize(user);
        }
    }
    const auto parsed = static_cast<double>(state.iterations()) * texts.size();
    state.counters["per text"] =
        benchmark::Counter(parsed, benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
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

const QStringList typical = {"\"Jane Roe\" <sip:jane.roe@example.com:5060;transport=tcp>",
                             "sip:jane@example.com",
                             "jane.roe@sip.example.com:5061",
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

BENCHMARK_CAPTURE(Parse, typical, typical);
BENCHMARK_CAPTURE(Parse, junk, junk);
BENCHMARK_CAPTURE(Parse, 1k, Repeated(1000));
BENCHMARK_CAPTURE(Parse, 10k, Repeated(10000));
BENCHMARK_CAPTURE(Parse, 100k, Repeated(100000));

BENCHMARK_MAIN();
