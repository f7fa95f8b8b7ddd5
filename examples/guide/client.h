#pragma once

#include <common/tools/idlewatcher.h>

#include <QFile>
#include <QJsonObject>
#include <QLabel>
#include <QLineEdit>
#include <QMainWindow>
#include <QNetworkAccessManager>
#include <QProgressBar>
#include <QPushButton>

/** The client that the examples of the guide are a part of. */
class Client : public QMainWindow
{
    Q_OBJECT

public Q_SLOTS:
    void UseDownload();
    void ShowStatus(const QString& status);
    void ShowError(int code, const QString& text);
    void ShowProblem(const QString& text);
    void ShowBytes(qint64 done, qint64 total);
    void CopyDone();
    void CacheIsClear();
    void RefreshDayTitles();
    void Dial(const QString& address);
    void Record(const QString& file);
    void OfferToDial(const QString& address);

public:
    void LogToFile(const QString& config, const QString& logs);
    void LogToScreen();
    void LogElsewhere();
    void AskStatus();
    void SendForm();
    void SendJson(const QJsonObject& object);
    void SendFile(const QString& path);
    void Trust(const QString& ca);
    void Download(const QString& cache, const QString& digest);
    void CopyProfile(const QString& profile, const QString& home);
    void ClearCache(const QString& cache);
    void RemoveSmallTree(const QString& cache);
    void RemoveOne(const QString& path);
    void UseShell(const QString& file);
    void ShowParty();
    void DialPasted();
    void DialNumber();
    void TakeApart();
    void StorePassword(const QString& password);
    void StoreSettings(const QString& path);
    void UseValues(const QByteArray& bytes, const QString& text);
    void WatchUser();
    void SetUpInput();
    void SetUpIcons();
    void UpdateShared(const QString& path);

private:
    enum Presence { Away, Online };
    void SetPresence(Presence presence);
    void Send(const QByteArray& data);
    void Offer(const QString& version);
    void Update(QFile& file);
    QJsonObject Defaults();

    QNetworkAccessManager manager;
    QSharedPointer<common::IdleWatcher> watcher;
    QLabel* label = nullptr;
    QLineEdit* edit = nullptr;
    QPushButton* button = nullptr;
};
