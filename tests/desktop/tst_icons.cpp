#include <common/tools/fileiconprovider.h>
#include <common/tools/svg/svgicon.h>

#include "support/tree.h"
#include "support/xserver.h"

#include <QDir>
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
        WriteFile(path, "<svg xmlns='http://www.w3.org/2000/svg' viewBox='0 0 100 50'>" + body +
                            "</svg>");
        return path;
    }

    // What the client prints with that environment on an X server.
    static QStringList LinesOf(const XServer& server, const QStringList& variables,
                               const QStringList& arguments)
    {
        QProcess client;
        client.setEnvironment(QProcess::systemEnvironment() + variables +
                              QStringList{"DISPLAY=" + server.Display(), "QT_QPA_PLATFORM=xcb"});
        client.start(DESKTOPCLIENT_PATH, arguments);
        if (!client.waitForFinished() || client.exitStatus() != QProcess::NormalExit)
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
            QCOMPARE(image.pixelColor(last / 2, last / 2), QColor(Qt::red));
            QVERIFY(image.pixelColor(last / 2, 0).alpha() > 100); // stretched to the full height
            QCOMPARE(image.pixelColor(0, 0).alpha() + image.pixelColor(last, last).alpha(), 0);
        }
    }

    void brokenFilesAreTransparent()
    {
        for (const QString& path : {directory_.filePath("missing"), Svg("cut", "<rect")}) {
            QImage transparent(20, 10, QImage::Format_ARGB32_Premultiplied);
            transparent.fill(Qt::transparent);
            QCOMPARE(GetPixmap(path, transparent.size()).toImage(), transparent);
        }
        QVERIFY(GetPixmap(Svg("any", ""), QSize()).isNull());
    }

    void overlaySeries()
    {
        const QString base = Svg("base", "<rect width='100' height='50' fill='#000'/>");
        const QString overlay = Svg("overlay", "<rect width='50' height='50' fill='#fff'/>");
        QVERIFY(SvgIcon::CreateFromTwoSvgWithOverlay(base, overlay, -1).isEmpty());
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

    // The pictures are of other sizes and resolutions than what they are painted on.
    void overlayFillsTarget()
    {
        QImage halves(2, 1, QImage::Format_RGB32); // each keeps its colour when enlarged
        halves.fill(Qt::black);
        halves.setPixelColor(1, 0, QColor(0, 255, 0));
        const QPixmap base = QPixmap::fromImage(halves);
        QPixmap overlay(16, 16);
        overlay.fill(QColor(0, 0, 255, 128));
        overlay.setDevicePixelRatio(2);
        QPixmap target(40, 20);
        target.fill(Qt::red);
        target.setDevicePixelRatio(2);
        DrawWithOverlay(target, base, overlay, 0.5);
        for (const QPoint point : {QPoint(0, 0), QPoint(39, 19)}) {
            const QColor color = target.toImage().pixelColor(point);
            QVERIFY(qAbs(color.green() - (point.isNull() ? 0 : 191)) <= 2);
            QVERIFY(color.red() == 0 && qAbs(color.blue() - 64) <= 2 && color.alpha() == 255);
        }
        QPixmap none;
        DrawWithOverlay(none, base, overlay, 1);
        QVERIFY(none.isNull());
    }

    void fileIcons()
    {
        const XServer server;
        QVERIFY(!server.Display().isEmpty());
        const QTemporaryDir temporary;
        const QString home = "HOME=" + directory_.path();
        const QString writable = "TMPDIR=" + temporary.path();
        const QString noTheme = "XDG_DATA_DIRS=" + directory_.path();
        const QStringList arguments = {
            "icons", ".pdf", ".mp3", "", ".zzz", ".a b'c", '.' + QString(300, 'x')};
        const QStringList themed = LinesOf(
            server, {home, writable, "XDG_CURRENT_DESKTOP=GNOME", "QT_QPA_PLATFORMTHEME=gnome"},
            arguments);
        QVERIFY(themed.value(0) != themed.value(1));
        const QStringList generic = LinesOf(server, {home, writable, noTheme}, arguments);
        QCOMPARE(generic.value(0), generic.value(1));
        const QStringList unwritable =
            LinesOf(server, {home, noTheme, "TMPDIR=/no/such/directory"}, arguments);
        for (const QStringList& icons : {themed, generic, unwritable}) {
            QCOMPARE(icons.size(), arguments.size() - 1);
            QVERIFY(!icons.contains("null"));
        }
        QVERIFY(QDir(temporary.path()).entryList({"*.pdf"}).isEmpty());
    }
};

QTEST_MAIN(TestIcons)
#include "tst_icons.moc"
