#include "ui/widgets/AppStyle.h"

#include "ui/widgets/Picture.h"

AppStyle::AppStyle(const QString& key) : QProxyStyle(key) {}

QIcon AppStyle::standardIcon(StandardPixmap standardIcon, const QStyleOption* option, const QWidget* widget) const
{
    if (standardIcon == SP_ToolBarHorizontalExtensionButton || standardIcon == SP_ToolBarVerticalExtensionButton)
        return Picture::icon(QStringLiteral(":/images/icon_more.svg"));
    return QProxyStyle::standardIcon(standardIcon, option, widget);
}
