#pragma once

#include <QDialog>
#include <functional>

class QListWidget;
class Station;

// "Set Paths": the folder that receives the data files.
class frmPathA : public QDialog
{
    Q_OBJECT
public:
    explicit frmPathA(Station& st, QWidget* parent = nullptr);

    void cmdChange_Click();
    void cmdOK_Click();

    // Asks the operator for a folder (title, start folder); empty when cancelled.
    // Tests replace it.
    std::function<QString(const QString&, const QString&)> chooseFolder;

private:
    Station& st_;
    QListWidget* lstPath_;
};
