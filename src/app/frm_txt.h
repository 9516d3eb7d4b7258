#pragma once

#include <QWidget>

class QPlainTextEdit;

// A small text window: the help contents, and the cursor read-out of the graph.
class frm_txt : public QWidget
{
    Q_OBJECT
public:
    explicit frm_txt(QWidget* parent = nullptr);
    void setText(const QString& text);
    QString text() const;
    // Shows the station's help text.
    void showHelp();

private:
    QPlainTextEdit* txt_;
};
