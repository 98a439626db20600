#pragma once

#include "core/parser_result.h"
#include "platform/Property.h"

#include <QString>
#include <QUrl>

#include <memory>

// One downloadable stream of a video, with the labels shown for it.
class YouTubeUrl {
public:
    static std::shared_ptr<YouTubeUrl> init(const result_url& stream);

    // The file suffix (without dot) for a stream's media type.
    static QString getVideoSuffix(const QString& type);
    bool isMP4() const;

    // Empty when the address could not be read, even after the "%22" repair.
    QUrl url() const { return url_.get(); }
    void setUrl(const QUrl& url) { url_.set(url); }
    QString quality() const { return quality_.get(); }
    void setQuality(const QString& quality) { quality_.set(quality); }
    QString type() const { return type_.get(); }
    void setType(const QString& type) { type_.set(type); }
    QString localizedQuality() const { return localizedQuality_.get(); }
    void setLocalizedQuality(const QString& label) { localizedQuality_.set(label); }
    QString localizedType() const { return localizedType_.get(); }
    void setLocalizedType(const QString& label) { localizedType_.set(label); }

private:
    platform::Property<QUrl> url_;
    platform::Property<QString> quality_;
    platform::Property<QString> type_;
    platform::Property<QString> localizedQuality_;
    platform::Property<QString> localizedType_;
};
