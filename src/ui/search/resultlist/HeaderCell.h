#pragma once

#include "ui/search/resultlist/ResultCell.h"

class QLabel;

namespace resultlist {

// The first result, larger: a big thumbnail, the title, the length and the
// description, and the buttons; 317 high.
class HeaderCell : public ResultCell {
    Q_OBJECT
public:
    explicit HeaderCell(QWidget* parent = nullptr);

    void setObjectValue(const QModelIndex& index) override;
    QLabel* descriptionLabel() const { return descriptionLabel_; }

    static constexpr int height = 317;

private:
    QLabel* descriptionLabel_;
};

} // namespace resultlist
