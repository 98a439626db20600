#include "ui/NewSearchController.h"

#include "platform/Localization.h"
#include "ui/PZBackgroundView.h"
#include "ui/PZScrollView.h"

#include <QIcon>
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
    imageView_->setPixmap(QIcon(QStringLiteral(":/images/logo.svg")).pixmap(128, 128));
    imageView_->setAlignment(Qt::AlignCenter);
    searchField_->setPlaceholderText(Localization::string("Search.Placeholder"));
    searchField_->setAccessibleName(Localization::string("Search.Field"));
    searchField_->setClearButtonEnabled(true);
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
