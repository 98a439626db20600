#pragma once

#include <QIcon>
#include <QString>
#include <QVariant>

// One entry of the sidebar: a title and a picture.
class MenuItem {
public:
    MenuItem() = default;
    virtual ~MenuItem() = default;
    MenuItem(const MenuItem&) = delete;
    MenuItem& operator=(const MenuItem&) = delete;

    QString title() const { return title_; }
    void setTitle(const QString& title) { title_ = title; }
    QIcon image() const { return image_; }
    void setImage(const QIcon& image) { image_ = image; }

    // What the entry's cell shows for a role of the sidebar's model: a
    // "DataCell" of picture and title.
    virtual QVariant view(int role) const;

private:
    QString title_ = QStringLiteral("Title");
    QIcon image_;
};
