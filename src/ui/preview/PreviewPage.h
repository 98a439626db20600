#pragma once

#include <QString>
#include <QUrl>

// The page that plays one stream in the preview: a script that asks the engine
// whether it plays the stream's type and then shows a video element, or the
// browser-error text. Each value is escaped for the place it goes, so that a
// type or an address from the network can never add markup or script.
class PreviewPage {
public:
    // The page for a stream of that type (its MIME type is the part before ";")
    // and address, with browserError as the text shown when it cannot play.
    static QString html(const QString& type, const QUrl& url, const QString& browserError);
    // The empty page of a preview that plays nothing.
    static QString blank();

    static QString mimeOf(const QString& type);
    // For the inside of a double-quoted HTML attribute, or for HTML text.
    static QString escapeHtml(const QString& text);
    // For the inside of a single-quoted JavaScript string within a script element.
    static QString escapeJavaScript(const QString& text);
};
