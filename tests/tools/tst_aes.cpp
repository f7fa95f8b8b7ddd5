#include <common/tools/cipher/aes.h>

#include <QtTest>

using tools::cipher::AES;

namespace {

// Leaves only this variable of the ones that make the key.
void SetUser(const char* user, const char* variable = "USER")
{
    for (const char* name : {"USER", "USERNAME", "user", "UserName"})
        qunsetenv(name);
    qputenv(variable, user);
}

} // namespace

class TestAes : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // openssl enc -aes-BITS-cbc -K HEX -iv HEX -nopad -A -base64, key and text padded with zeros.
    void sameAsOpenssl()
    {
        const char* const rows[][3] = {
            {"0123456789abcdef", "exactly 16 bytes", "tqZoxFMNMNQIKnpP5boBgQ=="},
            {"twenty bytes of key.", "Zoë", "5+rHEZA8qdDoo4/wUywuLw=="},
            {"0123456789abcdef0123456789abcdef", "two blocks of text, and some more of it",
             "V3jRz8MKkYkEGmIJsO9HSZ0BzHZd98x98gDZCbmxqwV0/HKtlZkdz3/x/iTrTC4D"}};
        for (const auto& [key, text, expected] : rows) {
            QCOMPARE(AES::encrypt(key, text), expected);
            QCOMPARE(AES::decrypt(key, expected), text);
        }
    }

    void refusedKeyGivesZeroBytes()
    {
        QByteArray bytes;
        QCOMPARE(AES::getKeyBuffer(QString(33, 'k'), bytes), 512);
        QCOMPARE(bytes, QByteArray(33, 'k') + QByteArray(31, '\0'));
        QCOMPARE(AES::encrypt(QString(33, 'k'), "17 bytes of text.", bytes), QByteArray(32, '\0'));
    }

    // Neither reads behind the input nor writes behind the output: the sanitizers watch.
    void primitiveKeepsToItsArrays()
    {
        QByteArray whole;
        AES::encrypt("key", "17 bytes of text.", whole);
        for (int size = 0; size <= 48; ++size) {
            QByteArray out(size, 'o');
            AES::crypt("key", "17 bytes of text.", out, 1);
            QCOMPARE(out, (whole + QByteArray(16, 'o')).left(size));
        }
        QByteArray out;
        QCOMPARE(AES::decrypt("key", whole.left(20), out).mid(20), QByteArray(12, '\0'));
    }

    void machineKey()
    {
        const char* const rows[][3] = {{"USER", "alice", "IlssUVQlWC9aVSBUXSFTJFQtUFAnXChR"},
                                       {"user", "a=b", "IgonUwwmVXtbUXxaVX9UJAUmUggkUXxQ"},
                                       {"UserName", "Zoë", "GViGmWsr9+1jX4KTbi317mIr8J4cX4KZ"},
                                       {"USER", "", "OAQDBXB2d38IHXl6AAYbcX10BRgHAQIH"}};
        for (const auto& [variable, user, key] : rows) {
            SetUser(user, variable);
            qputenv(strlen(variable) == 4 ? "USERNAME" : "USER", "later"); // the first one counts
            QCOMPARE(AES::machineUser(), user);
            QCOMPARE(AES::machineKey(), key);
        }
    }

    void pairsAreBoundToNameAndUser()
    {
        SetUser("alice");
        const QString stored = AES::encryptPair("password", "x=y");
        QCOMPARE(stored, "aJf2CgoUf0Qc/wC1KUBI2A==");
        QCOMPARE(AES::decryptPair("password", stored), "x=y");
        const QString empty = AES::decryptPair("a", AES::encryptPair("a", ""));
        QVERIFY(empty.isEmpty() && !empty.isNull());
        QCOMPARE(AES::encryptPair("%2", "v"), AES::encrypt("v=v")); // one after the other
        QByteArray bytes = "password=x=y";
        QCOMPARE(AES::encrypt(bytes, bytes).toBase64(), stored.toLatin1()); // in place
        QVERIFY(AES::decrypt(bytes, bytes).startsWith("password=x=y"));

        QVERIFY(AES::decryptPair("Password", stored).isNull());
        SetUser("bob");
        QVERIFY(AES::decryptPair("password", stored).isNull());
    }
};

QTEST_GUILESS_MAIN(TestAes)
#include "tst_aes.moc"
