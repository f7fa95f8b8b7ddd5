#pragma once

#include "page.h"

class QLineEdit;

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
    void ShowRecord(const QString& written);

    QLineEdit* field_;
    QLabel* kind_;
    QLabel* user_;
    QLabel* host_;
    QLabel* port_;
    QLabel* postDial_;
    QLabel* displayName_;
    QLabel* contactNumber_;
    QLabel* number_;
    QLabel* uri_;
    QLabel* dropped_;
};
