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

/** What is left once numbers were taken, which come from the end, so that seeds can be read. */
inline QByteArray Rest(FuzzedDataProvider& input)
{
    return QByteArray::fromStdString(input.ConsumeRemainingBytesAsString());
}

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
