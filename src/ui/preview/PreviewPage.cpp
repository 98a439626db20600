#include "ui/preview/PreviewPage.h"

namespace {

// The page, as the program has always made it; %1 to %5 are the browser-error
// text, the MIME type, the stream address, the MIME type and the browser-error text.
const char* const pageTemplate =
    "<!DOCTYPE html><html><head><script type=\"text/javascript\"> function not_supported() { "
    "document.getElementById(\"videodiv\").innerHTML = '<p style=\"font-family: Helvetica, Arial, sans-serif; "
    "padding: 10px 0;\">%1</p>'; } function play() { var videoTag = document.createElement(\"video\"); if "
    "(videoTag.canPlayType) { if(videoTag.canPlayType('%2')) { document.getElementById(\"videodiv\").innerHTML = "
    "'<video height=\"360\" width=\"590\" controls=\"controls\" autoplay=\"autoplay\"><source src=\"%3\" "
    "type=\"%4\"/>%5</video>'; } else { not_supported(); } } else { not_supported(); } } "
    "</script></head><body bgcolor=\"#EDEDED\" onload=\"play()\"> <div id=\"videodiv\" style=\"color:white; "
    "background-color:black;\" align=\"center\" /></body></html>";

} // namespace

QString PreviewPage::blank()
{
    return QStringLiteral("<html><body bgcolor=\"#EDEDED\"></body></html>");
}

QString PreviewPage::mimeOf(const QString& type)
{
    const qsizetype semicolon = type.indexOf(QLatin1Char(';'));
    return semicolon < 0 ? type : type.left(semicolon);
}

QString PreviewPage::escapeHtml(const QString& text)
{
    // Qt leaves the apostrophe alone; attribute values may be quoted with it.
    return text.toHtmlEscaped().replace(QLatin1Char('\''), QLatin1String("&#39;"));
}

QString PreviewPage::escapeJavaScript(const QString& text)
{
    QString escaped;
    escaped.reserve(text.size());
    for (const QChar c : text) {
        switch (c.unicode()) {
        case '\\': escaped += QLatin1String("\\\\"); break;
        case '\'': escaped += QLatin1String("\\'"); break;
        case '"': escaped += QLatin1String("\\\""); break;
        case '\n': escaped += QLatin1String("\\n"); break;
        case '\r': escaped += QLatin1String("\\r"); break;
        // "</script>" or "<!--" must never appear inside the script element.
        case '<': escaped += QLatin1String("\\x3C"); break;
        case '>': escaped += QLatin1String("\\x3E"); break;
        case 0x2028: escaped += QLatin1String("\\u2028"); break;
        case 0x2029: escaped += QLatin1String("\\u2029"); break;
        default:
            if (c.unicode() < 0x20)
                escaped += QStringLiteral("\\x%1").arg(c.unicode(), 2, 16, QLatin1Char('0'));
            else
                escaped += c;
        }
    }
    return escaped;
}

QString PreviewPage::html(const QString& type, const QUrl& url, const QString& browserError)
{
    const QString mime = mimeOf(type);
    // Inside the script, the markup strings are JavaScript strings holding HTML.
    const QString errorText = escapeJavaScript(escapeHtml(browserError));
    const QString mimeAttribute = escapeJavaScript(escapeHtml(mime));
    return QString::fromLatin1(pageTemplate)
        .arg(errorText, escapeJavaScript(mime), escapeJavaScript(escapeHtml(url.toString(QUrl::FullyEncoded))),
             mimeAttribute, errorText);
}
