#include <common/tools/cipher/aes.h>

#include <QtTest>

using tools::cipher::AES;

class TestAes : public QObject
{
    Q_OBJECT

private:
    // Leaves only these variables of the ones that make the key.
    static void SetUser(const QByteArray& user, const char* variable = "USER")
    {
        for (const char* name : {"USER", "USERNAME", "user", "UserName"})
            qunsetenv(name);
        if (!user.isNull())
            qputenv(variable, user);
    }

private Q_SLOTS:
    void init() { SetUser("alice"); }

    // openssl enc -aes-BITS-cbc -K HEX -iv HEX -nopad -A -base64, key and text padded with zeros.
    void sameAsOpenssl_data()
    {
        QTest::addColumn<int>("bits");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("expected");
        const auto row = [](const char* key, int bits, const char* text, const char* expected) {
            QTest::newRow(key) << bits << QString(text) << QString(expected);
        };
        row("", 128, "empty key", "71/kx2oysWi14hdYbgzEWg==");
        row("key", 128, "secret", "O3uX6IaI38D+oHmVP+JedQ==");
        row("0123456789abcdef", 128, "exactly 16 bytes", "tqZoxFMNMNQIKnpP5boBgQ==");
        row("0123456789abcdefg", 192, "17 bytes of text.",
            "nRp1JSZFuuwLIqvJzy1+u0mLytpZ6Eq9yjZBy4uzCSs=");
        row("twenty bytes of key.", 192, "Zoë", "5+rHEZA8qdDoo4/wUywuLw==");
        row("twenty-four bytes of key", 192, "", "");
        row("a key of 25 bytes, no more", 256, "x", "RN3ah2UKz4i5DI4miHVyaQ==");
        row("0123456789abcdef0123456789abcdef", 256, "two blocks of text, and some more of it",
            "V3jRz8MKkYkEGmIJsO9HSZ0BzHZd98x98gDZCbmxqwV0/HKtlZkdz3/x/iTrTC4D");
    }

    void sameAsOpenssl()
    {
        QFETCH(int, bits);
        QFETCH(QString, text);
        QFETCH(QString, expected);
        const QString key = QTest::currentDataTag();
        QByteArray buffer;
        QCOMPARE(AES::getKeyBuffer(key, buffer), bits);
        QCOMPARE(buffer, key.toUtf8().leftJustified(bits / 8, '\0'));
        QCOMPARE(AES::encrypt(key, text), expected);
        QCOMPARE(AES::decrypt(key, expected), text);

        QByteArray bytes = text.toUtf8();
        AES::encrypt(key, bytes, bytes);
        QCOMPARE(bytes.toBase64(), expected.toLatin1());
        AES::decrypt(key, bytes, bytes);
        QCOMPARE(bytes, text.toUtf8().leftJustified(bytes.size(), '\0'));
    }

    void refusedKeyGivesZeroBytes()
    {
        const QString key(33, 'k');
        QByteArray buffer;
        QCOMPARE(AES::getKeyBuffer(key, buffer), 512);
        QCOMPARE(buffer.size(), 64);
        QByteArray out;
        QCOMPARE(AES::encrypt(key, QByteArray("17 bytes of text."), out), QByteArray(32, '\0'));
        QCOMPARE(AES::decrypt(key, QByteArray(16, 'x'), out), QByteArray(16, '\0'));
        QCOMPARE(AES::decrypt(key, AES::encrypt(key, QString("lost"))), "");
    }

    // Neither reads behind the input nor writes behind the output: the sanitizers watch.
    void primitiveKeepsToItsArrays()
    {
        const QByteArray text = "17 bytes of text.";
        QByteArray whole;
        AES::encrypt("key", text, whole);
        for (int size = 0; size <= 48; ++size) {
            QByteArray out(size, 'o');
            AES::crypt("key", text, out, 1);
            QCOMPARE(out, (whole + QByteArray(16, 'o')).left(size));
        }
        QByteArray out(32, 'o');
        AES::crypt("key", whole.left(20), out, 0);
        QCOMPARE(out.left(16), text.left(16));
        QCOMPARE(out.mid(20), QByteArray(12, 'o'));
    }

    void machineKey_data()
    {
        QTest::addColumn<QByteArray>("variable");
        QTest::addColumn<QByteArray>("user");
        QTest::addColumn<QString>("key");
        const QString alice = "IlssUVQlWC9aVSBUXSFTJFQtUFAnXChR";
        QTest::newRow("USER") << QByteArray("USER") << QByteArray("alice") << alice;
        QTest::newRow("USERNAME") << QByteArray("USERNAME") << QByteArray("alice") << alice;
        QTest::newRow("lower case") << QByteArray("user") << QByteArray("alice") << alice;
        QTest::newRow("equals sign")
            << QByteArray("USER") << QByteArray("a=b") << "IgonUwwmVXtbUXxaVX9UJAUmUggkUXxQ";
        QTest::newRow("not ASCII")
            << QByteArray("UserName") << QByteArray("Zoë") << "GViGmWsr9+1jX4KTbi317mIr8J4cX4KZ";
        const QString fallback = "OAQDBXB2d38IHXl6AAYbcX10BRgHAQIH";
        QTest::newRow("none") << QByteArray("USER") << QByteArray() << fallback;
        QTest::newRow("empty") << QByteArray("USER") << QByteArray("") << fallback;
    }

    void machineKey()
    {
        QFETCH(QByteArray, variable);
        QFETCH(QByteArray, user);
        QFETCH(QString, key);
        SetUser(user, variable.constData());
        QCOMPARE(AES::machineUser(), QString::fromUtf8(user));
        QCOMPARE(AES::machineKey(), key);
    }

    void firstVariableOfEnvironmentCounts()
    {
        const char* const names[] = {"USER", "USERNAME"};
        for (const int first : {0, 1}) {           // in either order, whichever that makes
            for (const char* user : {"", "amy"}) { // found but empty, it counts
                SetUser(user, names[first]);
                qputenv(names[1 - first], "bob");
                const QStringList both =
                    QProcess::systemEnvironment().filter(QRegularExpression("^USER(NAME)?="));
                QCOMPARE(both.size(), 2);
                QCOMPARE(AES::machineUser(), both[0].section('=', 1));
            }
        }
    }

    void bytesWithTheMachineKey()
    {
        QByteArray expected, bytes;
        AES::encrypt(AES::machineKey(), "secret", expected);
        QCOMPARE(AES::encrypt(QByteArray("secret"), bytes), expected);
        QCOMPARE(AES::decrypt(expected, bytes).left(7), QByteArray("secret\0", 7));
        QCOMPARE(AES::ivec(), "5D3A9C0E71B24F68A0C2E94B17F6D8A3");
    }

    void pairsAreBoundToNameAndUser()
    {
        const QString stored = AES::encryptPair("password", "x=y");
        QCOMPARE(stored, "aJf2CgoUf0Qc/wC1KUBI2A==");
        QCOMPARE(AES::decryptPair("password", stored), "x=y");
        QVERIFY(AES::decryptPair("Password", stored).isNull());
        QVERIFY(AES::decryptPair("password", "no Base64!").isNull());

        const QString empty = AES::decryptPair("a", AES::encryptPair("a", ""));
        QVERIFY(empty.isEmpty() && !empty.isNull());

        // Substituted one after the other.
        QCOMPARE(AES::encryptPair("%2", "v"), AES::encrypt("v=v"));

        SetUser("bob");
        QVERIFY(AES::decryptPair("password", stored).isNull());
    }

    void textEndsAtZeroCharacter()
    {
        const QString text = QString("ab") + QChar(0) + "cd";
        QCOMPARE(AES::decrypt(AES::encrypt(text)), "ab");
        QByteArray bytes;
        AES::encrypt(text.toUtf8(), bytes);
        QCOMPARE(AES::decrypt(bytes, bytes).left(5), QByteArray("ab\0cd", 5));
    }
};

QTEST_GUILESS_MAIN(TestAes)
#include "tst_aes.moc"
