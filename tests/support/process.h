#pragma once

#include <QByteArray>
#include <QStringList>

/** What a program wrote to standard output when given that input; fatal if it fails. */
QByteArray OutputOf(const QString& program, const QStringList& arguments,
                    const QByteArray& input = QByteArray());
