#include "ui/NewSearchController.h"

#include "platform/Localization.h"
#include "ui/PZBackgroundView.h"
#include "ui/PZScrollView.h"
#include "ui/Picture.h"

#include <QAction>
#include <QLabel>
#include <QLineEdit>
#include <QVBoxLayout>

using platform::Localization;

NewSearchController::NewSearchController(const platform::ServiceEndpoints& endpoints, QObject* parent)
    : QObject(parent),
      endpoints_(endpoints),
      mainView_(new PZBackgroundView),
      imageView_(new QLabel),
      searchField_(new QLineEdit),
      tableScrollView_(new PZScrollView)
{
    // Drawn at build time; QPixmap picks "logo@2x.png" on a screen of two pixels per point.
    imageView_->setPixmap(QPixmap(QStringLiteral(":/images/logo.png")));
    imageView_->setAlignment(Qt::AlignCenter);
    searchField_->setPlaceholderText(Localization::string("Search.Placeholder"));
    searchField_->setAccessibleName(Localization::string("Search.Field"));
    // A clear button of our own: the style's would look its picture up in the
    // icon themes, which costs the start-up more than all the rest of the view.
    QAction* clear = searchField_->addAction(Picture::icon(QStringLiteral(":/images/icon_clear.svg")),
                                             QLineEdit::TrailingPosition);
    clear->setText(Localization::string("Search.Clear"));
    clear->setVisible(false);
    connect(clear, &QAction::triggered, searchField_, &QLineEdit::clear);
    connect(searchField_, &QLineEdit::textChanged, clear, [clear](const QString& text) { clear->setVisible(!text.isEmpty()); });
    searchField_->setMinimumWidth(360);

    auto* layout = new QVBoxLayout(mainView_);
    layout->setContentsMargins(24, 24, 24, 24);
    layout->addStretch(2);
    layout->addWidget(imageView_);
    layout->addSpacing(16);
    layout->addWidget(searchField_, 0, Qt::AlignHCenter);
    layout->addStretch(3);
    layout->addWidget(tableScrollView_);
    tableScrollView_->hide();
}

NewSearchController::~NewSearchController()
{
    delete mainView_;
}

void NewSearchController::applicationDidFinishLaunching()
{
    tableScrollView_->setDelegate(this);
}
