#include <common/shell/filehelper.h>

#include "support/tree.h"

#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

using common::FileHelper;

class TestFileHelper : public QObject
{
    Q_OBJECT

private:
    static QStringList Paths(const QSignalSpy& spy, const QString& root)
    {
        QStringList paths;
        for (const auto& arguments : spy)
            paths << arguments[0].toString().remove(root + '/');
        return paths;
    }

private Q_SLOTS:
    void removesContentsFirst()
    {
        const QTemporaryDir root;
        MakeTree(root.path(), {"d/e/f=1", "d/l->../kept", "kept/x=1", "single=", "top->kept"});
        FileHelper helper(root.filePath("d"));
        helper.AppendDir(root.filePath("none"));
        helper.AppendDir(root.filePath("top/"));
        helper.AppendFiles({root.filePath("single"), root.filePath("missing")});
        QSignalSpy scan(&helper, &FileHelper::scan);
        QSignalSpy progress(&helper, &FileHelper::progress);
        QSignalSpy failed(&helper, &FileHelper::failed);
        QVERIFY(helper.Remove());
        QVERIFY(failed.isEmpty());
        QCOMPARE(DescribeTree(root.path()), QStringList({"kept/", "kept/x=1"}));
        const QStringList removed = Paths(progress, root.path());
        QCOMPARE(Paths(scan, root.path()), removed);
        QCOMPARE(removed.mid(3), QStringList({"d", "top", "single"}));
        QVERIFY(removed.indexOf("d/e/f") < removed.indexOf("d/e"));
        QCOMPARE(scan.last()[1].toULongLong(), 6ull);
        QCOMPARE(progress.last().mid(1), QList<QVariant>({6ull, 6ull}));

        QVERIFY(!helper.Remove()); // all of it is still in the list
        QCOMPARE(failed.size(), 6);
    }

    void goesOnAfterAFailure()
    {
        const QTemporaryDir root;
        MakeTree(root.path(), {"d/.hidden=1", "d/f=1", "other="});
        FileHelper helper(root.filePath("d"));
        helper.AppendFiles({root.filePath("other")});
        QSignalSpy failed(&helper, &FileHelper::failed);
        QVERIFY(!helper.Remove());
        QCOMPARE(Paths(failed, root.path()), QStringList("d"));
        QCOMPARE(DescribeTree(root.path()), QStringList({"d/", "d/.hidden=1"}));
    }

    // In each slot the lists grow, and at the given one the helper goes away.
    void slotsChangeAndDelete()
    {
        for (int last = 1; last <= 6; ++last) {
            const QTemporaryDir root;
            MakeTree(root.path(), {"d/.hidden=1", "d/f=1", "e/g="});
            auto* helper = new FileHelper(root.filePath("d"));
            helper->AppendDir(root.filePath("e"));
            int calls = 0;
            const auto onSignal = [&] {
                if (++calls == last)
                    delete helper;
                else
                    helper->AppendDir(root.filePath("e"));
            };
            connect(helper, &FileHelper::scan, helper, onSignal);
            connect(helper, &FileHelper::failed, helper, onSignal);
            connect(helper, &FileHelper::progress, helper, onSignal);
            QVERIFY(!helper->Remove());
            QCOMPARE(calls, last);
        }
    }

    void copyOnlyScans()
    {
        const QTemporaryDir root;
        MakeTree(root.path(), {"d/f=1"});
        FileHelper helper(root.filePath("d"));
        QSignalSpy scan(&helper, &FileHelper::scan);
        QVERIFY(!helper.Copy(root.filePath("e")));
        QCOMPARE(scan.size(), 2);
        QVERIFY(!QFile::exists(root.filePath("e")));
    }
};

QTEST_GUILESS_MAIN(TestFileHelper)
#include "tst_filehelper.moc"
