#pragma once

#include "page.h"

/** What the library makes of an address as it is typed. */
class DialPage : public Page
{
    Q_OBJECT

public:
    DialPage();

    void Rehearse() override;
    /** Fills in an address that came from elsewhere. */
    void SetAddress(const QString& address);

private:
    void ShowResult(const QString& written);

    QLineEdit* field_;
    QList<QLineEdit*> values_;
};
