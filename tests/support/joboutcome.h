#pragma once

#include <QtTest>

/**
 * Waits for the end of a FileCopier's or FileRemover's job: "succesed" or "failed CODE", followed by
 * anything odd, such as a report of progress that is missing. The verb is that of the error text.
 */
template <typename Front>
QString JobOutcome(Front& front, const QString& verb)
{
    QStringList ends;
    int reported = 0;
    int expected = 0;
    bool isOdd = false;
    QObject context;
    QObject::connect(&front, &Front::progress, &context, [&](int current, int total) {
        isOdd = isOdd || current != ++reported || !ends.isEmpty();
        expected = total;
    });
    QObject::connect(&front, &Front::succesed, &context, [&] {
        isOdd = isOdd || reported != expected;
        ends << "succesed";
    });
    QObject::connect(&front, &Front::failed, &context, [&](int code, const QString& text) {
        isOdd = isOdd || text != QString("%1 failed with error '%2'!").arg(verb).arg(code);
        ends << "failed " + QString::number(code);
    });
    if (!QTest::qWaitFor([&] { return !ends.isEmpty(); }))
        return "no end";
    QTest::qWait(5);
    return ends.join(", ") + (isOdd ? ", with odd progress or text" : "");
}
