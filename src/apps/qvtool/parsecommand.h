#pragma once

#include "command.h"

namespace qvtool {

/** Tells what the library makes of addresses: of its arguments, or of the lines of its input. */
class ParseCommand : public Command
{
    Q_OBJECT

public:
    explicit ParseCommand(ToolLogger& log);

protected:
    void Declare(QCommandLineParser& parser) override;
    void Configure(Arguments& arguments) override;
    void Start() override;
    QString Stop() override;

private:
    void ShowLines(Input& input);
    bool ShowLine(const QByteArray& line);
    bool Show(const QString& text);

    QStringList texts_;
    bool json_ = false;
    int shownTexts_ = 0;
};

} // namespace qvtool
