#pragma once

#include "command.h"

namespace qvtool {

/**
 * Turns the text on standard input into another one with a key from a file, or with the key of the
 * current user. Neither is ever taken from the command line, which other users can see.
 */
class CipherCommand : public Command
{
    Q_OBJECT

public:
    using Command::Command;

protected:
    void Declare(QCommandLineParser& parser) override;
    void Configure(Arguments& arguments) override;
    void Start() override;
    QString Stop() override;

    /** The result, or a text and why there is none. */
    virtual QString Convert(const QString& key, const QByteArray& input, QString& error) = 0;

private:
    bool TakeKey();
    void ShowResult(const QByteArray& input);

    QString keyFile_;
    QString key_;
};

class EncryptCommand : public CipherCommand
{
    Q_OBJECT

public:
    explicit EncryptCommand(ToolLogger& log);

protected:
    QString Convert(const QString& key, const QByteArray& input, QString& error) override;
};

class DecryptCommand : public CipherCommand
{
    Q_OBJECT

public:
    explicit DecryptCommand(ToolLogger& log);

protected:
    QString Convert(const QString& key, const QByteArray& input, QString& error) override;
};

} // namespace qvtool
