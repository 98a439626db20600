#pragma once

// The user's folders and settings of a test in a temporary home.
#include <QByteArray>
#include <QFile>
#include <QSettings>
#include <QTemporaryDir>

#include <map>
#include <string>

class test_home {
public:
    test_home()
    {
        for (const char* name : {"HOME", "XDG_CACHE_HOME", "XDG_CONFIG_HOME"})
            saved_[name] = qgetenv(name);
        qputenv("HOME", QFile::encodeName(dir_.path()));
        qputenv("XDG_CACHE_HOME", QFile::encodeName(dir_.path() + "/.cache"));
        qputenv("XDG_CONFIG_HOME", QFile::encodeName(dir_.path() + "/.config"));
        QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, dir_.path() + "/.config");
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

private:
    QTemporaryDir dir_;
    std::map<std::string, QByteArray> saved_;
};
