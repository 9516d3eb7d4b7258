#pragma once

#include <QWidget>

class DataRecorder;
class QLabel;
class QLineEdit;
class QPushButton;
class Station;

// The operator's comment window. Its message label (lblMessage) receives the
// alarm lines; a comment typed into txtComment and entered (Enter or cmdOK)
// goes, dated, into the day's text file while recording is on, and is refused
// with "Запись в файл отключена" while it is off. cmdOK acknowledges the alarm
// (okPressed) and hides the window; closing it is its unloading (unloaded).
//
// Wiring: create it once beside the main frame (it is a window of its own),
// include it in the frame's on-top band, and hand it to AlarmWindows, which
// connects okPressed/unloaded to the alarm check's flags.
class frmComment : public QWidget
{
    Q_OBJECT
public:
    frmComment(Station& st, DataRecorder& recorder, QWidget* parent = nullptr);

    // The message label's text (CR LF between lines, as the alarm check writes it).
    void setMessage(const QString& text);
    QString message() const { return message_; }

    // Writes the typed comment; true when it was written or there was none.
    bool enterComment();
    void cmdOK_Click();

Q_SIGNALS:
    // The operator pressed OK: both alarm flags are cleared.
    void okPressed();
    // The window was closed: the alarm-window flag is cleared.
    void unloaded();

protected:
    void closeEvent(QCloseEvent* e) override;
    void showEvent(QShowEvent* e) override;

private:
    Station& st_;
    DataRecorder& recorder_;
    QString message_;
    bool placed_ = false;
    QLabel* lblMessage_;
    QLineEdit* txtComment_;
    QPushButton* cmdOK_;
};
