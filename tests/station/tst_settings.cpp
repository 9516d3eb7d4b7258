// The settings file: private-profile reading and writing, and the station's
// reading and saving of its settings.
#include "RecordingNotifier.h"
#include "station/IniFile.h"
#include "station/Settings.h"
#include "station/Station.h"
#include "tst_station.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

namespace {
QByteArray readFile(const QString& path)
{
    QFile f(path);
    f.open(QIODevice::ReadOnly);
    return f.readAll();
}
void writeFile(const QString& path, const QByteArray& bytes)
{
    QFile f(path);
    f.open(QIODevice::WriteOnly);
    f.write(bytes);
}
} // namespace

void SettingsTest::init()
{
    dir_ = std::make_unique<QTemporaryDir>();
    qputenv("XDG_CONFIG_HOME", dir_->path().toLocal8Bit());
    ini_ = dir_->filePath(QStringLiteral("Tervala.ini"));
    cwd_ = QDir::currentPath();
}

void SettingsTest::cleanup()
{
    QDir::setCurrent(cwd_);
}

void SettingsTest::legacyFileKeepsItsBytes()
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
    writeFile(ini_, legacy);
    RecordingNotifier n;
    Station st(n);
    ReadSettings(st);
    QCOMPARE(st.commSettings, QStringLiteral("9600,n,8,1"));
    QCOMPARE(st.ncom, 3);
    QCOMPARE(st.limit1, 40);
    st.limit1 = 45;
    SaveSettings(st);

    const QByteArray after = readFile(ini_);
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

void SettingsTest::lookup_data()
{
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<QString>("section");
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("value");
    QTest::newRow("case-insensitive") << QByteArray("[comports]\nncom=4\n") << "COMPORTS"
                                      << "NCOM"
                                      << "4";
    QTest::newRow("blanks trimmed") << QByteArray("[A]\n  k  =  v 1  \n") << "a"
                                    << "K"
                                    << "v 1";
    QTest::newRow("empty is absent") << QByteArray("[A]\nk=\n") << "A"
                                     << "k" << QString();
    QTest::newRow("other section") << QByteArray("[A]\n[B]\nk=2\n") << "A"
                                   << "k" << QString();
    QTest::newRow("127 characters") << QByteArray("[A]\nk=" + QByteArray(200, 'x') + "\n") << "A"
                                    << "k" << QString(127, 'x');
}

void SettingsTest::lookup()
{
    QFETCH(QByteArray, file);
    QFETCH(QString, section);
    QFETCH(QString, key);
    QFETCH(QString, value);
    writeFile(ini_, file);
    QCOMPARE(ReadIni(section, key, "Tervala.ini"), value);
}

void SettingsTest::write_data()
{
    QTest::addColumn<QByteArray>("before");
    QTest::addColumn<QByteArray>("after");
    QTest::newRow("replace in place")
        << QByteArray("[S]\nA=1\nK=old\nB=2\n") << QByteArray("[S]\nA=1\nK=new\nB=2\n");
    QTest::newRow("key spelling kept") << QByteArray("[s]\nk=old\n") << QByteArray("[s]\nk=new\n");
    QTest::newRow("end of its section")
        << QByteArray("[S]\nA=1\n\n[T]\nB=2\n") << QByteArray("[S]\nA=1\nK=new\n\n[T]\nB=2\n");
    QTest::newRow("new section at end")
        << QByteArray("[T]\nB=2") << QByteArray("[T]\nB=2\n[S]\nK=new\n");
    QTest::newRow("new file") << QByteArray() << QByteArray("[S]\nK=new\n");
}

void SettingsTest::write()
{
    QFETCH(QByteArray, before);
    QFETCH(QByteArray, after);
    if (!before.isEmpty())
        writeFile(ini_, before);
    QVERIFY(WriteIni("S", "K", "new", "Tervala.ini"));
    QCOMPARE(readFile(ini_), after);
}

void SettingsTest::readSettings_data()
{
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<int>("period");
    QTest::addColumn<int>("limit1");
    QTest::addColumn<int>("mdiWidth");
    QTest::addColumn<int>("valLeft");
    QTest::addColumn<double>("scaleY3");
    QTest::newRow("TIMER 2 ignored")
        << QByteArray("[INTERVAL]\nTIMER=2\n") << 4 << 50 << 10000 << 0 << 25000.0;
    QTest::newRow("TIMER 31 ignored")
        << QByteArray("[INTERVAL]\nTIMER=31\n") << 4 << 50 << 10000 << 0 << 25000.0;
    QTest::newRow("TIMER 3 taken")
        << QByteArray("[INTERVAL]\nTIMER=3\n") << 3 << 50 << 10000 << 0 << 25000.0;
    QTest::newRow("TIMER 30 taken")
        << QByteArray("[INTERVAL]\nTIMER=30\n") << 30 << 50 << 10000 << 0 << 25000.0;
    QTest::newRow("bad Limit1 keeps 50")
        << QByteArray("[LIMIT]\nLimit1=abc\n") << 4 << 50 << 10000 << 0 << 25000.0;
    QTest::newRow("SCALEY3=0 keeps entry")
        << QByteArray("[SCALES]\nSCALEY3=0\nSCALEY2=7\n") << 4 << 50 << 10000 << 0 << 25000.0;
    QTest::newRow("SCALEY3 replaced")
        << QByteArray("[SCALES]\nSCALEY3=1234\n") << 4 << 50 << 10000 << 0 << 1234.0;
    QTest::newRow("MDIWidth default, frmValLeft kept")
        << QByteArray("[POSITIONS]\nMDIWidth=\nfrmValTop=99\n") << 4 << 50 << 10000 << 0 << 25000.0;
    QTest::newRow("positions taken")
        << QByteArray("[POSITIONS]\nMDIWidth=12000.6\nfrmValLeft=300\n[LIMIT]\nLimit1=60\n") << 4
        << 60 << 12001 << 300 << 25000.0;
}

void SettingsTest::readSettings()
{
    QFETCH(QByteArray, file);
    writeFile(ini_, file);
    RecordingNotifier n;
    Station st(n);
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

void SettingsTest::dataFolderBecomesCurrent()
{
    const QString data = dir_->filePath(QStringLiteral("data"));
    QDir().mkpath(data);
    writeFile(ini_, "[Path]\nIniPathDat=" + data.toLocal8Bit() + "\n");
    RecordingNotifier n;
    Station st(n);
    ReadSettings(st);
    QCOMPARE(st.dataFolder, data);
    QCOMPARE(QDir::currentPath(), data);
}
