#pragma once

#include "livelogger.h"
#include "page.h"

class QComboBox;
class QPlainTextEdit;

/** The library's log, as it comes. */
class LogPage : public Page
{
    Q_OBJECT

public:
    LogPage();

protected:
    void showEvent(QShowEvent* event) override;

private:
    void AddLine(int level, const QString& category, const QString& text);

    LiveLogger logger_;
    QComboBox* level_;
    QPlainTextEdit* lines_;
};
