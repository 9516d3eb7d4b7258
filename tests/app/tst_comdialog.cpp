// The Settings dialog's device server entry.
#include "Files.h"
#include "StationRig.h"
#include "app/frmCOM.h"
#include "station/IniFile.h"
#include "station/Settings.h"
#include "tst_app.h"

#include <QApplication>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSpinBox>
#include <QTest>

template <typename T> static T* child(frmCOM& dlg, const char* name)
{
    return dlg.findChild<T*>(QLatin1String(name));
}

void ComDialogTest::devicePort_data()
{
    QTest::addColumn<int>("kind"); // the row of cmbNetKind
    QTest::addColumn<QString>("host");
    QTest::addColumn<int>("port");
    QTest::addColumn<bool>("byReturn"); // Return in the host field instead of Use
    QTest::addColumn<QString>("name");  // empty when the input is refused
    QTest::addColumn<QString>("kindText");
    const QString raw = QStringLiteral("Raw TCP (device server)");
    const QString telnet = QStringLiteral("RFC 2217 (device server)");
    QTest::newRow("raw TCP") << 0 << "192.0.2.7" << 4001 << false << "tcp://192.0.2.7:4001" << raw;
    QTest::newRow("raw TCP, Return in the host field")
        << 0 << " ds-7.example " << 950 << true << "tcp://ds-7.example:950" << raw;
    QTest::newRow("RFC 2217, IPv6")
        << 1 << "2001:db8::17" << 2217 << false << "rfc2217://[2001:db8::17]:2217" << telnet;
    QTest::newRow("IPv6 typed in brackets")
        << 1 << "[::1]" << 65535 << false << "rfc2217://[::1]:65535" << telnet;
    QTest::newRow("empty host") << 0 << "" << 4001 << false << ""
                                << "Local port";
    QTest::newRow("host with a space") << 1 << "ds 7" << 4001 << true << ""
                                       << "Local port";
    QTest::newRow("not IPv6 in brackets") << 0 << "[ds7]" << 4001 << false << ""
                                          << "Local port";
}

// The address typed reaches the port object at once and, saved, comes back in
// the fields; input that makes no port name says why and changes nothing.
void ComDialogTest::devicePort()
{
    QFETCH(int, kind);
    QFETCH(QString, host);
    QFETCH(int, port);
    QFETCH(bool, byReturn);
    QFETCH(QString, name);
    QFETCH(QString, kindText);
    // A local device that isn't there, and never opened: applying a name
    // connects to nothing.
    const QString local = dir_->filePath(QStringLiteral("ttyS0"));
    const QString expected = name.isEmpty() ? local : name;
    {
        StationRig r;
        r.st.portName = local;
        r.st.applyPortSettings();
        frmCOM dlg(r.st);
        dlg.show();
        QApplication::setActiveWindow(&dlg);
        QVERIFY(QTest::qWaitForWindowActive(&dlg));
        QCOMPARE(child<QLabel>(dlg, "lblPortKind")->text(), QStringLiteral("Local port"));
        child<QComboBox>(dlg, "cmbNetKind")->setCurrentIndex(kind);
        child<QLineEdit>(dlg, "txtNetHost")->setText(host);
        child<QSpinBox>(dlg, "txtNetPort")->setValue(port);
        if (byReturn) {
            child<QLineEdit>(dlg, "txtNetHost")->setFocus();
            QTest::keyClick(child<QLineEdit>(dlg, "txtNetHost"), Qt::Key_Return);
            QVERIFY(dlg.isVisible());
        } else {
            child<QPushButton>(dlg, "cmdNetUse")->click();
        }
        QCOMPARE((QStringList{r.st.portName, r.st.myComm.deviceName(),
                              child<QComboBox>(dlg, "cmbPortName")->currentData().toString(),
                              child<QLabel>(dlg, "lblPortKind")->text()}),
                 (QStringList{expected, expected, expected, kindText}));
        QVERIFY(!r.st.myComm.PortOpen());
        QCOMPARE(child<QLabel>(dlg, "lblNetError")->text().startsWith("Bad port name"),
                 name.isEmpty());
        child<QPushButton>(dlg, "cmdSave")->click();
    }
    const QByteArray ini = contents(iniPath(QStringLiteral("Tervala.ini")));
    QVERIFY(ini.split('\n').contains("PortName=" + expected.toUtf8() + '\r'));

    StationRig r;
    ReadSettings(r.st);
    frmCOM dlg(r.st);
    QCOMPARE((QStringList{r.st.portName, child<QLabel>(dlg, "lblPortKind")->text(),
                          child<QComboBox>(dlg, "cmbPortName")->currentData().toString()}),
             (QStringList{expected, kindText, expected}));
    if (!name.isEmpty())
        QCOMPARE((QVariantList{child<QComboBox>(dlg, "cmbNetKind")->currentIndex(),
                               child<QLineEdit>(dlg, "txtNetHost")->text(),
                               child<QSpinBox>(dlg, "txtNetPort")->value()}),
                 (QVariantList{kind, host.trimmed().remove(u'[').remove(u']'), port}));
}
