#pragma once

#include <QByteArray>

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
