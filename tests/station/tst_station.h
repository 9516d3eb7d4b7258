#pragma once

#include <QObject>
#include <QString>
#include <QTemporaryDir>
#include <memory>

class SettingsTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init();
    void cleanup();
    void legacyFileKeepsItsBytes();
    void lookup_data();
    void lookup();
    void write_data();
    void write();
    void readSettings_data();
    void readSettings();
    void dataFolderBecomesCurrent();

private:
    std::unique_ptr<QTemporaryDir> dir_;
    QString ini_;
    QString cwd_;
};

class CatalogueTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void marker_data();
    void marker();
    void commands();
    void toolTips_data();
    void toolTips();
    void findIndex_data();
    void findIndex();
};
