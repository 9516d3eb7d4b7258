// The record-layout dialog driven through its controls.
#include "RecordingNotifier.h"
#include "app/Station.h"
#include "link/frmSet.h"
#include "tst_link.h"

#include <QCheckBox>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollBar>
#include <QTest>

void FormatDialogTest::layoutAndApply_data()
{
    QTest::addColumn<bool>("mark");
    QTest::addColumn<bool>("checkSum");
    QTest::addColumn<QList<int>>("starts");
    QTest::newRow("both") << true << true << QList<int>{0, 7, 14};
    QTest::newRow("one") << false << true << QList<int>{0, 6, 12};
}

void FormatDialogTest::layoutAndApply()
{
    QFETCH(bool, mark);
    QFETCH(bool, checkSum);
    QFETCH(QList<int>, starts);
    RecordingNotifier n;
    Station st(n);
    frmSet dlg(st);
    auto find = [&](const char* name) { return dlg.findChild<QWidget*>(QLatin1String(name)); };
    static_cast<QCheckBox*>(find("chkForComp"))->setChecked(mark);
    static_cast<QCheckBox*>(find("chkMark"))->setChecked(checkSum);
    static_cast<QCheckBox*>(find("chkIdentData"))->setChecked(true);
    static_cast<QScrollBar*>(find("scrNofC"))->setValue(3);
    QCOMPARE(static_cast<QLineEdit*>(find("txtNComp"))->text(), QStringLiteral("3"));
    static_cast<QScrollBar*>(find("scrN"))->setValue(3);
    QCOMPARE(static_cast<QLineEdit*>(find("txtStart"))->text(), QString::number(starts[2]));
    static_cast<QLineEdit*>(find("txtMark"))->setText(QStringLiteral("10"));
    static_cast<QLineEdit*>(find("txtLenS"))->setText(QStringLiteral("7.4"));
    static_cast<QPushButton*>(find("cmdApply"))->click();
    QCOMPARE(st.format.components, 3);
    QCOMPARE(int(st.format.marker), 10);
    QCOMPARE(st.format.recordLength, 7);
    QList<int> got;
    for (const ComponentFormat& c : st.format.comp)
        got << c.start;
    QCOMPARE(got, starts);
}

void FormatDialogTest::cancelKeepsRecord()
{
    RecordingNotifier n;
    Station st(n);
    frmSet dlg(st);
    dlg.findChild<QScrollBar*>(QStringLiteral("scrNofC"))->setValue(4);
    dlg.findChild<QLineEdit*>(QStringLiteral("txtMark"))->setText(QStringLiteral("65"));
    dlg.findChild<QPushButton*>(QStringLiteral("cmdCancel"))->click();
    QCOMPARE(st.format.components, 1);
    QCOMPARE(int(st.format.marker), 13);
}
