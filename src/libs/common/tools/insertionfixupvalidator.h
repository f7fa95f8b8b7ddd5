#pragma once

#include "common/qvcommon_export.h"
#include "common/tools/regexpvalidator.h"

#include <QString>

namespace tools {

/**
 * A validator that removes the characters that a pattern does not allow, instead of refusing the
 * edit: typing one has no effect, and of a paste the allowed rest is kept.
 *
 * @code
 * auto* digits = new tools::CInsertionFixupValidator(QRegExp("[0-9]*"), edit);
 * edit->setValidator(digits);
 * @endcode
 *
 * Use it on the GUI thread, like the widget that it serves. A pattern that is not valid leaves the
 * text as it is.
 *
 * One character is removed a round, and each round matches the text from its start, so the time
 * grows with the length of the text times the number of characters removed: pasting 10,000
 * characters, half of which go, takes about 0.3 s. A QLineEdit takes 32,767 at most, for which that
 * is 3 to 7 s, depending on the pattern. Set QLineEdit::setMaxLength() where a field is short.
 */
class QVCOMMON_EXPORT CInsertionFixupValidator : public RegExpValidator
{
    Q_OBJECT

public:
    /** Allows any text. */
    explicit CInsertionFixupValidator(QObject* parent = nullptr);
    /** Allows what the pattern matches, or could match if the text went on. */
    explicit CInsertionFixupValidator(const QRegExp& regExp, QObject* parent = nullptr);
    ~CInsertionFixupValidator() override;

    /**
     * Removes, as long as the pattern does not match and could not match a continuation of
     * @p input either, the first character that does not fit.
     */
    void fixup(QString& input) const override;

    /**
     * Calls fixup(), once, then judges the text that is left as RegExpValidator does.
     *
     * @param[in,out] input the text of the field
     * @param[in,out] pos   the cursor; stays where it is if the length does, otherwise behind what
     *                      this class's own fixup() leaves of the text before it
     */
    QValidator::State validate(QString& input, int& pos) const override;
};

} // namespace tools
