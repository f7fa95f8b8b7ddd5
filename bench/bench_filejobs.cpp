// Copies and removes trees of small files with the library and with cp -r and rm -r, in turn on the
// same data: bench_filejobs [ROUNDS [FILES...]]

#include <common/shell/filecopier.h>
#include <common/shell/fileremover.h>

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <vector>

namespace {

constexpr int filesPerDirectory = 100;
constexpr int fileSize = 1000;
constexpr int defaultRounds = 3;

using Action = std::function<void()>;

void MakeFiles(const QString& root, int count)
{
    const QByteArray content(fileSize, 'x');
    for (int i = 0; i < count; ++i) {
        const QString directory = QStringLiteral("%1/%2").arg(root).arg(i / filesPerDirectory);
        if (i % filesPerDirectory == 0)
            QDir().mkpath(directory);
        QFile file(QStringLiteral("%1/%2").arg(directory).arg(i));
        if (!file.open(QIODevice::WriteOnly) || file.write(content) != fileSize)
            qFatal("cannot write %s", qPrintable(file.fileName()));
    }
}

// Runs a job of the library to its end.
template <typename Front>
void Await(Front& front, bool (Front::*start)())
{
    QEventLoop loop;
    QObject::connect(&front, &Front::succesed, &loop, &QEventLoop::quit);
    QObject::connect(&front, &Front::failed, &loop,
                     [](int code) { qFatal("the job failed with code %d", code); });
    (front.*start)();
    loop.exec();
}

void RunProgram(const QString& program, const QStringList& arguments)
{
    if (QProcess::execute(program, arguments) != 0)
        qFatal("%s failed", qPrintable(program));
}

double Seconds(const Action& action)
{
    QElapsedTimer timer;
    timer.start();
    action();
    return static_cast<double>(timer.elapsed()) / 1000;
}

double Median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

void Compare(int files, int rounds)
{
    const QTemporaryDir directory;
    const QString source = directory.filePath(QStringLiteral("source"));
    const QString ours = directory.filePath(QStringLiteral("ours"));
    const QString theirs = directory.filePath(QStringLiteral("theirs"));
    MakeFiles(source, files);

    std::vector<double> copy, cp, remove, rm;
    for (int round = 0; round < rounds; ++round) {
        copy.push_back(Seconds([&] {
            common::FileCopier copier;
            copier.AddDirectory(source, ours);
            Await(copier, &common::FileCopier::Copy);
        }));
        cp.push_back(Seconds([&] { RunProgram("cp", {"-r", source, theirs}); }));
        remove.push_back(Seconds([&] {
            common::FileRemover remover;
            remover.AddDirectory(ours);
            Await(remover, &common::FileRemover::Remove);
        }));
        rm.push_back(Seconds([&] { RunProgram("rm", {"-r", theirs}); }));
    }
    std::printf("%7d %9.2f %9.2f %9.2f %9.2f\n", files, Median(copy), Median(cp), Median(remove),
                Median(rm));
    std::fflush(stdout);
}

} // namespace

int main(int argc, char* argv[])
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    const int rounds = qMax(arguments.value(1, QString::number(defaultRounds)).toInt(), 1);
    QStringList sizes = arguments.mid(2);
    if (sizes.isEmpty())
        sizes = QStringList{"5000", "20000", "80000"};

    std::printf("medians of %d interleaved rounds, seconds\n", rounds);
    std::printf("%7s %9s %9s %9s %9s\n", "files", "copy", "cp -r", "remove", "rm -r");
    for (const QString& size : qAsConst(sizes))
        Compare(size.toInt(), rounds);
    return 0;
}
