#include <common/tools/fileiconprovider.h>
#include <common/tools/svg/svgicon.h>

#include "support/tree.h"
#include "support/xserver.h"

#include <QtTest>

using namespace tools::svg;

class TestIcons : public QObject
{
    Q_OBJECT

public:
    static void initMain()
    {
        RunOnXServer();
        qputenv("QT_QPA_PLATFORMTHEME", "gnome");
    }

private:
    const CurrentTree tree_;

    QString Svg(const QString& name, const QByteArray& body)
    {
        WriteFile(name, "<svg xmlns='http://www.w3.org/2000/svg' viewBox='0 0 100 50'>" + body +
                            "</svg>");
        return name;
    }

private Q_SLOTS:
    void iconHoldsEachSize()
    {
        // A red ellipse that touches the edges, in a picture twice as wide as high.
        const QIcon icon = SvgIcon::CreateFromSvg(
            Svg("red", "<ellipse cx='50' cy='25' rx='50' ry='25' fill='#f00'/>"));
        QCOMPARE(icon.availableSizes(QIcon::Normal, QIcon::Off), IconSizes());
        for (const QSize& size : IconSizes()) {
            const QImage image = icon.pixmap(size).toImage();
            const int last = size.width() - 1;
            QCOMPARE(image.pixelColor(last / 2, last / 2), QColor(Qt::red));
            QVERIFY(image.pixelColor(last / 2, 0).alpha() > 100); // stretched to the full height
            QCOMPARE(image.pixelColor(0, 0).alpha() + image.pixelColor(last, last).alpha(), 0);
        }
    }

    void overlaySeries()
    {
        const QString base = Svg("base", "<rect width='100' height='50' fill='#000'/>");
        const QString overlay = Svg("overlay", "<rect width='50' height='50' fill='#fff'/>");
        int step = 0;
        for (const QIcon& icon : SvgIcon::CreateFromTwoSvgWithOverlay(base, overlay, 4)) {
            const QImage image = icon.pixmap(64).toImage();
            QVERIFY(qAbs(image.pixelColor(10, 30).red() - 255 * ++step / 4) <= 1);
        }
        QCOMPARE(step, 4);
    }

    // The pictures are of other sizes and resolutions than what they are painted on.
    void overlayFillsTarget()
    {
        QImage halves(2, 1, QImage::Format_RGB32); // each keeps its colour when enlarged
        halves.fill(Qt::black);
        halves.setPixelColor(1, 0, Qt::green);
        const QPixmap base = QPixmap::fromImage(halves);
        QPixmap overlay(16, 16), target(40, 20);
        overlay.fill(Qt::blue);
        target.fill(Qt::red);
        overlay.setDevicePixelRatio(2);
        target.setDevicePixelRatio(2);
        DrawWithOverlay(target, base, overlay, 0.7);
        const QImage image = target.toImage(); // of which the high bits are the same anywhere
        QCOMPARE(image.pixel(0, 0) & 0xFFC0C0C0, 0xFF000080);
        QCOMPARE(image.pixel(39, 19) & 0xFFC0C0C0, 0xFF004080);
    }

    void fileIcons()
    {
        qputenv("TMPDIR", tree_.path().toUtf8());
        const tools::FileIconProvider provider;
        const auto picture = [&](const QString& name) {
            return provider.icon(QFileInfo(name)).pixmap(32).toImage();
        };
        QVERIFY(picture("a.pdf") != picture("a.mp3"));
        const QFileInfo a("a.pdf"), b("b.pdf");
        QCOMPARE(provider.icon(b).cacheKey(), provider.icon(a).cacheKey());
        QVERIFY(QDir(tree_.path()).entryList({"*.pdf"}).isEmpty());
        qputenv("TMPDIR", "/no/such/directory");
        for (const QString& name : {QString("a"), QString("a.b c'd"), "a." + QString(300, 'x')})
            QVERIFY(!picture(name).isNull());
    }
};

QTEST_MAIN(TestIcons)
#include "tst_icons.moc"
