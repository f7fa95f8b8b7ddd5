#pragma once

#include <QSignalSpy>
#include <QtTest>

/**
 * Waits for the end of a FileCopier's or FileRemover's job: "succesed" or "failed CODE", with
 * anything odd said instead. The verb is that of the error text: "Copying", "Removing".
 */
template <typename Front>
QString JobOutcome(Front& front, const QString& verb)
{
    QSignalSpy succesed(&front, &Front::succesed);
    QSignalSpy failed(&front, &Front::failed);
    [&] {
        QTRY_VERIFY(succesed.size() + failed.size() > 0);
    }();
    QTest::qWait(5);
    if (succesed.size() + failed.size() != 1)
        return "more than one final signal";
    if (!succesed.isEmpty())
        return "succesed";
    const QString code = failed[0][0].toString();
    const QString text = verb + " failed with error '" + code + "'!";
    return "failed " + code + (failed[0][1] == text ? "" : " with the wrong text");
}
