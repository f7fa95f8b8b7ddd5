#pragma once

#include <QByteArray>
#include <QString>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include <fuzzer/FuzzedDataProvider.h>

/** What libFuzzer calls with each input it makes up; each program here defines it. */
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

/** Ends the process if the condition does not hold, so that the fuzzer keeps the input. */
#define EXPECT(condition)                                                                          \
    do {                                                                                           \
        if (!(condition)) {                                                                        \
            fprintf(stderr, "%s:%d: does not hold: %s\n", __FILE__, __LINE__, #condition);         \
            abort();                                                                               \
        }                                                                                          \
    } while (false)

/**
 * Takes an input apart. Numbers come from its end, so that a seed begins with the text that matters
 * and can be read.
 */
class Input
{
public:
    Input(const uint8_t* data, size_t size) : data_(data, size) {}

    int Number(int least, int most) { return data_.ConsumeIntegralInRange(least, most); }

    QByteArray Rest() { return QByteArray::fromStdString(data_.ConsumeRemainingBytesAsString()); }

private:
    FuzzedDataProvider data_;
};

/** UTF-8, or UTF-16 behind a byte that no UTF-8 begins with, for lone surrogates. */
inline QString Text(const QByteArray& bytes)
{
    if (!bytes.startsWith('\xFF'))
        return QString::fromUtf8(bytes);
    QString text;
    for (int i = 1; i + 1 < bytes.size(); i += 2)
        text += QChar(uchar(bytes[i]), uchar(bytes[i + 1]));
    return text;
}
