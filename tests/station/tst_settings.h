// The settings file: private-profile reading and writing, and the station's
// reading and saving of its settings.
#pragma once

#include "Files.h"
#include "StationRig.h"
#include "station/IniFile.h"
#include "station/Settings.h"

#include <QTemporaryDir>
#include <QTest>
#include <memory>

class SettingsTest : public QObject
{
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> dir_;
    QString ini_;
    QString cwd_;

private Q_SLOTS:
    void init()
    {
        dir_ = std::make_unique<QTemporaryDir>();
        qputenv("XDG_CONFIG_HOME", dir_->path().toLocal8Bit());
        ini_ = dir_->filePath(QStringLiteral("Tervala.ini"));
        cwd_ = QDir::currentPath();
    }

    void cleanup() { QDir::setCurrent(cwd_); }

    void legacyFileKeepsItsBytes()
    {
        const QByteArray legacy = "; station settings\r\n"
                                  "[COMPORTS]\r\n"
                                  "CommSettings=9600,n,8,1\r\n"
                                  "NCOM=3\r\n"
                                  "\r\n"
                                  "[Path]\r\n"
                                  "IniPathDat=C:\\Data\\Gas\\\r\n"
                                  "[Operator]\r\n"
                                  "Name = Ivanov ; shift A\r\n"
                                  "[LIMIT]\r\n"
                                  "Limit1=40\r\n"
                                  "\r\n";
        put(ini_, legacy);
        StationRig r;
        Station& st = r.st;
        ReadSettings(st);
        QCOMPARE(st.commSettings, QStringLiteral("9600,n,8,1"));
        QCOMPARE(st.ncom, 3);
        QCOMPARE(st.limit1, 40);
        st.limit1 = 45;
        SaveSettings(st);

        const QByteArray after = contents(ini_);
        // Every line of the old file is still there, in order, byte for byte,
        // except the one key whose value changed.
        QByteArray expected = legacy;
        expected.replace("Limit1=40\r\n", "Limit1=45\r\nLimit2=80\r\n");
        QVERIFY2(after.startsWith(expected.left(expected.indexOf("[LIMIT]"))), after.constData());
        QVERIFY(after.contains("[LIMIT]\r\nLimit1=45\r\nLimit2=80\r\n\r\n[GENERAL]\r\n"));
        QVERIFY(after.contains("IniPathDat=C:\\Data\\Gas\\\r\n"));
        QVERIFY(after.contains("Name = Ivanov ; shift A\r\n"));
        QVERIFY(!after.contains("\n\n")); // no bare LF crept into a CRLF file
        QCOMPARE(ReadIni("POSITIONS", "MDIWidth", "Tervala.ini"), QStringLiteral("10000"));
        QCOMPARE(QDir(dir_->path()).entryList(QDir::Files), QStringList{"Tervala.ini"});
    }

    void lookup_data()
    {
        QTest::addColumn<QByteArray>("file");
        QTest::addColumn<QString>("section");
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("value");
        const auto row = [](const char* name, const QByteArray& file, const QString& section,
                            const QString& key, const QString& value) {
            QTest::newRow(name) << file << section << key << value;
        };
        row("case-insensitive", "[comports]\nncom=4\n", "COMPORTS", "NCOM", "4");
        row("blanks trimmed", "[A]\n  k  =  v 1  \n", "a", "K", "v 1");
        row("empty is absent", "[A]\nk=\n", "A", "k", {});
        row("other section", "[A]\n[B]\nk=2\n", "A", "k", {});
        row("127 characters", "[A]\nk=" + QByteArray(200, 'x') + "\n", "A", "k", QString(127, 'x'));
        row("127 UTF-8 characters", "[A]\nk=" + QByteArray("\xD0\xB4").repeated(200), "A", "k",
            QString(127, QChar(0x0434)));
        row("quotes removed", "[A]\nk = ' v 1 ' \n", "A", "k", " v 1 ");
        row("unpaired quote kept", "[A]\nk=\"x'\n", "A", "k", "\"x'");
        row("CRLF and LF mixed", "[A]\r\nj=1\nk=2\r\nl=3\n", "A", "k", "2");
        row("CR only", "[B]\rk=1\r[A]\rj=1\rk=2\r", "A", "k", "2");
        row("UTF-8 mark, first section", "\xEF\xBB\xBF[A]\r\nk=1\r\n", "A", "k", "1");
        row("UTF-8 text", "[A]\nk=C:\\\xD0\x94\xD0\xB0\xD0\xBD\xD0\xBD\xD1\x8B\xD0\xB5\n", "A", "k",
            QString::fromUtf8("C:\\Данные"));
        row("Windows-1251 text", "[A]\nk=C:\\\xC4\xE0\xED\xED\xFB\xE5\n", "A", "k",
            QString::fromUtf8("C:\\Данные"));
        row("Windows-1251 signs", "[A]\nk=\xA8\xB8 \xB9\x39 20\xB0\n", "A", "k",
            QString::fromUtf8("Ёё №9 20°"));
        row("Windows-1251 names", "[\xF2\xE5\xF1\xF2]\n\xEA\xEB=1\n", QString::fromUtf8("ТЕСТ"),
            QString::fromUtf8("КЛ"), "1");
        row("^Z after value", "[A]\nk=1\x1A", "A", "k", "1");
        row("^Z after line", "[A]\r\nk=1\r\n\x1A\x1A", "A", "k", "1");
        row("NUL padding", QByteArrayLiteral("[A]\nk=1\0\0\0\0"), "A", "k", "1");
        row("value ends at its NUL", QByteArrayLiteral("[A]\r\nk=1\0\0\r\nm=2\r\n"), "A", "k", "1");
        row("nothing after a NUL is read", QByteArrayLiteral("[A]\nk=12\0 34\n"), "A", "k", "12");
    }

    void lookup()
    {
        QFETCH(QByteArray, file);
        QFETCH(QString, section);
        QFETCH(QString, key);
        QFETCH(QString, value);
        put(ini_, file);
        QCOMPARE(ReadIni(section, key, "Tervala.ini"), value);
    }

    void write_data()
    {
        QTest::addColumn<QByteArray>("before");
        QTest::addColumn<QString>("value");
        QTest::addColumn<QByteArray>("after");
        QTest::addColumn<QString>("back"); // what is read back
        const auto row = [](const char* name, const QByteArray& before, const QString& value,
                            const QByteArray& after, const QString& back = {}) {
            QTest::newRow(name) << before << value << after << (back.isNull() ? value : back);
        };
        row("replace in place", "[S]\nA=1\nK=old\nB=2\n", "new", "[S]\nA=1\nK=new\nB=2\n");
        row("key spelling kept", "[s]\nk=old\n", "new", "[s]\nk=new\n");
        row("end of its section", "[S]\nA=1\n\n[T]\nB=2\n", "new", "[S]\nA=1\nK=new\n\n[T]\nB=2\n");
        row("new section at end", "[T]\nB=2", "new", "[T]\nB=2\n[S]\nK=new\n");
        row("new file", {}, "new", "[S]\r\nK=new\r\n");
        row("file without line ending", "[T]", "new", "[T]\r\n[S]\r\nK=new\r\n");
        row("each line its ending", "[S]\r\nA=1\nK=old\r\n[T]\nB=2\r\n", "new",
            "[S]\r\nA=1\nK=new\r\n[T]\nB=2\r\n");
        row("ending of the line before", "[S]\nA=1\r\n\n[T]\n", "new",
            "[S]\nA=1\r\nK=new\r\n\n[T]\n");
        row("first ending after last line", "[T]\r\nB=2\nC=3", "new",
            "[T]\r\nB=2\nC=3\r\n[S]\r\nK=new\r\n");
        row("CR only", "[S]\rA=1\r[T]\rB=2\r", "new", "[S]\rA=1\rK=new\r[T]\rB=2\r");
        row("UTF-8 mark kept", "\xEF\xBB\xBF[S]\r\nK=old\r\n", QString::fromUtf8("Ёж"),
            "\xEF\xBB\xBF[S]\r\nK=\xD0\x81\xD0\xB6\r\n");
        row("UTF-8 value", "[S]\nK=old\n", QString::fromUtf8("Ёж"), "[S]\nK=\xD0\x81\xD0\xB6\n");
        row("Windows-1251 kept", "[P]\nD=\xC4\xE0\n[S]\nK=old\n", QString::fromUtf8("Ёж 20°"),
            "[P]\nD=\xC4\xE0\n[S]\nK=\xA8\xE6 20\xB0\n");
        row("Windows-1251 cannot hold it", "[P]\nD=\xC4\xE0\n", QString::fromUtf8("CO₂"),
            "[P]\nD=\xC4\xE0\n[S]\nK=CO?\n", "CO?");
        row("Windows-1251 bytes that form UTF-8", "[P]\nD=\xC4\xE0\n", QString::fromUtf8("Ж°"),
            "[P]\nD=\xC4\xE0\n[S]\nK=\xC6\xB0\n");
        row("last Windows-1251 bytes replaced", "[S]\nK=\xC4\n", QString::fromUtf8("Ж°"),
            "[S]\nK=\xD0\x96\xC2\xB0\n");
        row("^Z kept at the end", "[T]\nB=2\x1A", "new", "[T]\nB=2\n[S]\nK=new\n\x1A");
        row("NUL kept at the end", QByteArrayLiteral("[S]\r\nK=old\0\0"), "new",
            QByteArrayLiteral("[S]\r\nK=new\0\0"));
    }

    void write()
    {
        QFETCH(QByteArray, before);
        QFETCH(QString, value);
        QFETCH(QByteArray, after);
        if (!before.isEmpty())
            put(ini_, before);
        QVERIFY(WriteIni("S", "K", value, "Tervala.ini"));
        QCOMPARE(contents(ini_), after);
        QTEST(ReadIni("S", "K", "Tervala.ini"), "back");
    }

    void readSettings_data()
    {
        QTest::addColumn<QByteArray>("file");
        QTest::addColumn<int>("period");
        QTest::addColumn<int>("limit1");
        QTest::addColumn<int>("mdiWidth");
        QTest::addColumn<int>("valLeft");
        QTest::addColumn<double>("scaleY3");
        // What a missing or refused entry leaves: period 4 s, Limit1 50, MDIWidth
        // 10000, frmValLeft 0, SCALEY3 25000.
        const auto row = [](const char* name, const QByteArray& file, int period = 4,
                            int limit1 = 50, int mdiWidth = 10000, int valLeft = 0,
                            double scaleY3 = 25000) {
            QTest::newRow(name) << file << period << limit1 << mdiWidth << valLeft << scaleY3;
        };
        row("TIMER 2 ignored", "[INTERVAL]\nTIMER=2\n");
        row("TIMER 31 ignored", "[INTERVAL]\nTIMER=31\n");
        row("TIMER 3 taken", "[INTERVAL]\nTIMER=3\n", 3);
        row("TIMER 30 taken", "[INTERVAL]\nTIMER=30\n", 30);
        row("bad Limit1 keeps 50", "[LIMIT]\nLimit1=abc\n");
        row("SCALEY3=0 keeps entry", "[SCALES]\nSCALEY3=0\nSCALEY2=7\n");
        row("SCALEY3 replaced", "[SCALES]\nSCALEY3=1234\n", 4, 50, 10000, 0, 1234);
        row("MDIWidth default, frmValLeft kept", "[POSITIONS]\nMDIWidth=\nfrmValTop=99\n");
        row("positions taken",
            "[POSITIONS]\nMDIWidth=12000.6\nfrmValLeft=300\n[LIMIT]\nLimit1=60\n", 4, 60, 12001,
            300);
    }

    void readSettings()
    {
        QFETCH(QByteArray, file);
        put(ini_, file);
        StationRig r;
        Station& st = r.st;
        st.layout.mdiWidth = 1; // the reading sets the frame keys even when absent
        ReadSettings(st);
        QTEST(st.timerPeriod, "period");
        QCOMPARE(st.HTmr.interval(), st.timerPeriod == 4 ? 0 : st.timerPeriod * 1000);
        QTEST(st.limit1, "limit1");
        QTEST(st.layout.mdiWidth, "mdiWidth");
        QTEST(st.layout.valLeft, "valLeft");
        QTEST(st.scaleY[3], "scaleY3");
        QCOMPARE(st.scaleY[2], file.contains("SCALEY2=7") ? 7.0 : 50000.0);
    }

    void dataFolderBecomesCurrent()
    {
        const QString data = dir_->filePath(QStringLiteral("data"));
        QDir().mkpath(data);
        put(ini_, "[Path]\nIniPathDat=" + data.toLocal8Bit() + "\n");
        StationRig r;
        ReadSettings(r.st);
        QCOMPARE(r.st.dataFolder, data);
        QCOMPARE(QDir::currentPath(), data);
    }

    // Where a bare-named settings file lives when the shared (Windows) folder
    // may or may not take new files. procfs stands for a folder this user
    // can't write: even root can't make a file there.
    void settingsFolder_data()
    {
        QTest::addColumn<QString>("shared");
        QTest::addColumn<QString>("file");
        QTest::addColumn<QByteArray>("ownBefore");
        QTest::addColumn<bool>("inShared");
        QTest::addColumn<QByteArray>("ownAfter");
        const QString closed = QStringLiteral("/proc/sys/kernel");
        QTest::newRow("no shared folder")
            << QString() << "ostype" << QByteArray() << false << QByteArray();
        QTest::newRow("shared folder open")
            << QStringLiteral("@shared") << "ostype" << QByteArray() << true << QByteArray();
        QTest::newRow("closed: the shared file is copied")
            << closed << "ostype" << QByteArray() << false << QByteArray("Linux\n");
        QTest::newRow("closed: the user's copy stays")
            << closed << "ostype" << QByteArray("[A]\r\nk=1\r\n") << false
            << QByteArray("[A]\r\nk=1\r\n");
        QTest::newRow("closed, no shared file")
            << closed << "Tervala.ini" << QByteArray() << false << QByteArray();
        QTest::newRow("shared folder missing")
            << dir_->filePath("gone") << "ostype" << QByteArray() << false << QByteArray();
    }

    void settingsFolder()
    {
        QFETCH(QString, shared);
        QFETCH(QString, file);
        QFETCH(QByteArray, ownBefore);
        QFETCH(bool, inShared);
        QFETCH(QByteArray, ownAfter);
        if (shared == QLatin1String("@shared")) {
            shared = dir_->filePath("shared");
            QDir().mkpath(shared);
        }
        const QString own = dir_->filePath(QStringLiteral("own"));
        if (!ownBefore.isEmpty()) {
            QDir().mkpath(own);
            put(QDir(own).filePath(file), ownBefore);
        }
        const QString path = settingsPath(file, shared, own);
        QCOMPARE(path, QDir(inShared ? shared : own).filePath(file));
        QCOMPARE(contents(QDir(own).filePath(file)), ownAfter);
        // Nothing is left behind by the look at the shared folder.
        if (inShared)
            QCOMPARE(QDir(shared).entryList(QDir::Files), QStringList());
    }
};
