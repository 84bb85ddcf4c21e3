#pragma once

#include "settings/SettingsPath.h"

#include "support/VbTestSupport.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

// Gives each test its own settings file in a fresh folder.
class SettingsFileTest : public testsupport::EnUsTest {
protected:
    QTemporaryDir dir;
    QString file = dir.filePath(QStringLiteral("tillsight.ini"));
    settings::SettingsFileOverride redirect{file};

    void writeFile(const QByteArray& bytes) const {
        QFile out(file);
        ASSERT_TRUE(out.open(QIODevice::WriteOnly));
        out.write(bytes);
    }
    QByteArray readFile() const { return contentsOf(file); }
    static QByteArray contentsOf(const QString& path) {
        QFile in(path);
        return in.open(QIODevice::ReadOnly) ? in.readAll() : QByteArray();
    }
    // A settings path that can be neither read nor replaced, whoever runs the test: a folder
    // stands in its place.
    QString unusablePath() const {
        const QString path = dir.filePath(QStringLiteral("folder.ini"));
        QDir().mkpath(path);
        return path;
    }
};
