#pragma once

// The user's folders and settings of a test in a temporary home, and a desktop
// whose "open" only writes down what it was asked to open.
#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QSettings>
#include <QTemporaryDir>

#include <map>
#include <string>

class test_home {
public:
    test_home()
    {
        for (const char* name : {"HOME", "XDG_CACHE_HOME", "XDG_CONFIG_HOME", "PATH"})
            saved_[name] = qgetenv(name);
        qputenv("HOME", QFile::encodeName(dir_.path()));
        qputenv("XDG_CACHE_HOME", QFile::encodeName(dir_.path() + "/.cache"));
        qputenv("XDG_CONFIG_HOME", QFile::encodeName(dir_.path() + "/.config"));
        QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, dir_.path() + "/.config");

        QDir().mkpath(dir_.path() + "/bin");
        QFile opener(dir_.path() + "/bin/xdg-open");
        opener.open(QIODevice::WriteOnly);
        opener.write("#!/bin/sh\nprintf '%s\\n' \"$1\" >> \"$HOME/opened\"\n");
        opener.setPermissions(opener.permissions() | QFile::ExeOwner);
        qputenv("PATH", QFile::encodeName(dir_.path() + "/bin:") + saved_["PATH"]);
    }
    ~test_home()
    {
        for (const auto& [name, value] : saved_)
            qputenv(name.c_str(), value);
    }
    test_home(const test_home&) = delete;
    test_home& operator=(const test_home&) = delete;

    QString path() const { return dir_.path(); }
    QString downloads() const { return dir_.path() + "/Downloads"; }
    QString cache() const { return dir_.path() + "/.cache/Melodrift"; }
    // What the desktop was asked to open, one address per line.
    QString opened() const
    {
        QFile file(dir_.path() + "/opened");
        return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
    }

private:
    QTemporaryDir dir_;
    std::map<std::string, QByteArray> saved_;
};
