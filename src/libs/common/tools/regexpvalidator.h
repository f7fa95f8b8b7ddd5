#pragma once

#include "common/qvcommon_export.h"

#include <QRegExp>
#include <QValidator>

#if QT_VERSION_MAJOR < 6
#include <QRegExpValidator>
#endif

namespace tools {

#if QT_VERSION_MAJOR < 6

/** Qt 5 has it; with Qt 6 it is a class of this library. */
using RegExpValidator = QRegExpValidator;

#else

/** Judges a text as Qt 5's QRegExpValidator does, which Qt 6 no longer has. */
class QVCOMMON_EXPORT RegExpValidator : public QValidator
{
    Q_OBJECT
    Q_PROPERTY(QRegExp regExp READ regExp WRITE setRegExp NOTIFY regExpChanged)

public:
    /** Accepts any text. */
    explicit RegExpValidator(QObject* parent = nullptr);
    /** Accepts what the pattern matches as a whole. */
    explicit RegExpValidator(const QRegExp& regExp, QObject* parent = nullptr);
    ~RegExpValidator() override;

    /**
     * Acceptable if the pattern matches, Intermediate if it could match were the text to go on,
     * otherwise Invalid, and @p pos is moved to the end.
     */
    State validate(QString& input, int& pos) const override;

    /** The pattern. */
    const QRegExp& regExp() const;
    /** Sets the pattern. */
    void setRegExp(const QRegExp& regExp);

Q_SIGNALS:
    /** Another pattern was set. */
    void regExpChanged(const QRegExp& regExp);

private:
    QRegExp pattern_;
};

#endif

} // namespace tools
