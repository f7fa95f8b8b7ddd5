#include <common/tools/fileiconprovider.h>
#include <common/tools/svg/svgicon.h>

#include "support/xserver.h"

#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

using namespace tools::svg;

class TestIcons : public QObject
{
    Q_OBJECT

public:
    static void initMain() { qputenv("QT_QPA_PLATFORM", "offscreen"); }

private:
    QTemporaryDir directory_;

    QString Svg(const QString& name, const QByteArray& body)
    {
        const QString path = directory_.filePath(name);
        QFile file(path);
        [&] {
            QVERIFY(file.open(QIODevice::WriteOnly));
        }();
        file.write("<svg xmlns='http://www.w3.org/2000/svg' viewBox='0 0 100 50'>" + body +
                   "</svg>");
        return path;
    }

    // What the client prints with that environment on an X server.
    static QStringList LinesOf(const XServer& server, const QStringList& variables,
                               const QStringList& arguments)
    {
        QProcess client;
        auto environment = QProcessEnvironment::systemEnvironment();
        environment.insert("DISPLAY", server.Display());
        environment.insert("QT_QPA_PLATFORM", "xcb");
        for (const QString& variable : variables)
            environment.insert(variable.section('=', 0, 0), variable.section('=', 1));
        client.setProcessEnvironment(environment);
        client.start(DESKTOPCLIENT_PATH, arguments);
        client.waitForFinished();
        if (client.exitStatus() != QProcess::NormalExit)
            return {"crashed"};
        return QString::fromUtf8(client.readAllStandardOutput()).split('\n', Qt::SkipEmptyParts);
    }

private Q_SLOTS:
    void iconHoldsEachSize()
    {
        // A red ellipse that touches the edges, in a picture twice as wide as high.
        const QIcon icon = SvgIcon::CreateFromSvg(
            Svg("red", "<ellipse cx='50' cy='25' rx='50' ry='25' fill='#f00'/>"));
        const QList<QSize> sizes = IconSizes();
        QCOMPARE(sizes.size(), 6);
        QCOMPARE(icon.availableSizes(QIcon::Normal, QIcon::Off), sizes);
        for (const QSize& size : sizes) {
            const QImage image = icon.pixmap(size).toImage();
            const int last = size.width() - 1;
            QCOMPARE(image.size(), size);
            QCOMPARE(image.pixelColor(last / 2, last / 2), QColor(Qt::red));
            QVERIFY(image.pixelColor(last / 2, 0).alpha() > 100); // stretched to the full height
            for (const QPoint corner :
                 {QPoint(0, 0), QPoint(last, 0), QPoint(0, last), QPoint(last, last)})
                QCOMPARE(image.pixelColor(corner).alpha(), 0);
        }
    }

    void brokenFilesAreTransparent()
    {
        const QSize size(20, 10);
        for (const QString& path :
             {QString(), directory_.filePath("missing"), Svg("cut", "<rect")}) {
            const QImage image = GetPixmap(path, size).toImage();
            QCOMPARE(image.size(), size);
            for (int x = 0; x < size.width(); ++x)
                QCOMPARE(image.pixelColor(x, 5).alpha(), 0);
        }
        QVERIFY(GetPixmap(Svg("any", ""), QSize()).isNull());
    }

    void overlaySeries()
    {
        const QString base = Svg("base", "<rect width='100' height='50' fill='#000'/>");
        const QString overlay = Svg("overlay", "<rect width='50' height='50' fill='#fff'/>");
        for (int steps : {0, -1})
            QVERIFY(SvgIcon::CreateFromTwoSvgWithOverlay(base, overlay, steps).isEmpty());
        const QList<QIcon> icons = SvgIcon::CreateFromTwoSvgWithOverlay(base, overlay, 4);
        QCOMPARE(icons.size(), 4);
        for (int step = 1; step <= 4; ++step) {
            const QIcon& icon = icons[step - 1];
            QCOMPARE(icon.availableSizes(), IconSizes());
            const QImage image = icon.pixmap(64).toImage();
            QVERIFY(qAbs(image.pixelColor(10, 30).red() - 255 * step / 4) <= 1);
            QCOMPARE(image.pixelColor(60, 30), QColor(Qt::black));
        }
    }

    void overlayFillsTarget_data()
    {
        QTest::addColumn<double>("ratio");
        QTest::newRow("plain") << 1.0;
        QTest::newRow("high DPI") << 2.0;
    }

    void overlayFillsTarget()
    {
        QFETCH(double, ratio);
        QImage halves(2, 1, QImage::Format_RGB32); // each pixel keeps its colour when enlarged
        halves.setPixelColor(0, 0, QColor(0, 0, 0));
        halves.setPixelColor(1, 0, QColor(0, 255, 0));
        const QPixmap base = QPixmap::fromImage(halves);
        QPixmap overlay(64, 64);
        overlay.fill(QColor(0, 0, 255, 128));
        overlay.setDevicePixelRatio(ratio);
        QPixmap target(40, 20);
        target.fill(Qt::red);
        target.setDevicePixelRatio(ratio);
        DrawWithOverlay(target, base, overlay, 0.5);
        for (const QPoint point : {QPoint(0, 0), QPoint(39, 0), QPoint(0, 19), QPoint(39, 19),
                                   QPoint(19, 10), QPoint(20, 10)}) {
            const QColor color = target.toImage().pixelColor(point);
            QVERIFY(qAbs(color.green() - (point.x() < 20 ? 0 : 191)) <= 2);
            QCOMPARE(color.red(), 0);
            QVERIFY(qAbs(color.blue() - 64) <= 2 && color.alpha() == 255);
        }
        QPixmap none;
        DrawWithOverlay(none, base, overlay, 1);
        QVERIFY(none.isNull());
    }

    void overlayOnHighDpiScreen()
    {
        const QString base = Svg("black", "<rect width='100' height='50' fill='#000'/>");
        const QString overlay = Svg("white", "<rect width='100' height='50' fill='#fff'/>");
        const XServer server;
        const QStringList lines =
            LinesOf(server, {"QT_SCALE_FACTOR=2"}, {"overlay", base, overlay});
        QCOMPARE(lines.size(), 2);
        QVERIFY2(
            QRegularExpression("^6 sizes, 64 px, #(7f7f7f|808080)$").match(lines[0]).hasMatch(),
            qPrintable(lines[0]));
        QCOMPARE(lines[1], QString("6 sizes, 64 px, #ffffff"));
    }

    void fileIcons()
    {
        const XServer server;
        QVERIFY(!server.Display().isEmpty());
        const QString home = "HOME=" + directory_.path();
        const QString writable = "TMPDIR=" + directory_.path();
        const QStringList suffixes = {".pdf", ".mp3",   "",
                                      ".zzz", ".a b'c", '.' + QString(300, 'x')};
        const QStringList arguments = QStringList("icons") + suffixes;

        const QStringList themed = LinesOf(
            server, {home, writable, "XDG_CURRENT_DESKTOP=GNOME", "QT_QPA_PLATFORMTHEME=gnome"},
            arguments);
        QCOMPARE(themed.size(), suffixes.size() + 1);
        QVERIFY(!themed.contains("null"));
        QVERIFY(themed[0] != themed[1]);
        QCOMPARE(themed.last(), "5 files"); // one each, but none of 300 characters

        const QString noTheme = "XDG_DATA_DIRS=" + directory_.path();
        const QStringList generic = LinesOf(server, {home, writable, noTheme}, arguments);
        QCOMPARE(generic.size(), suffixes.size() + 1);
        QVERIFY(!generic.contains("null"));
        QCOMPARE(generic[0], generic[1]);

        const QStringList unwritable =
            LinesOf(server, {home, noTheme, "TMPDIR=/no/such/directory"}, arguments);
        QCOMPARE(unwritable.size(), suffixes.size() + 1);
        QVERIFY(!unwritable.contains("null"));
        QCOMPARE(unwritable.last(), "0 files");
    }
};

QTEST_MAIN(TestIcons)
#include "tst_icons.moc"
