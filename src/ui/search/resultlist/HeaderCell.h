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
    QSize minimumSizeHint() const override;

protected:
    void fitWidth(int width) override;

private:
    // Both margins and the gap between picture and text.
    static constexpr int around = 16 + 20 + 16;
    // The text's column: what it is given before the picture grows, and the
    // least it keeps when the buttons under the picture show their words.
    static constexpr int textColumn = 200;
    static constexpr int narrowTextColumn = 140;

    QLabel* descriptionLabel_;
};

} // namespace resultlist
