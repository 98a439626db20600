#pragma once

#include "ui/search/resultlist/ResultCell.h"

namespace resultlist {

// A result after the first: a small thumbnail, the title and the length, and
// the buttons; 118 high.
class MainCell : public ResultCell {
    Q_OBJECT
public:
    explicit MainCell(QWidget* parent = nullptr);

    static constexpr int height = 118;
    QSize minimumSizeHint() const override;

protected:
    void fitWidth(int width) override;

private:
    // Both margins and the gap between picture and text.
    static constexpr int around = 3 * 16;
};

} // namespace resultlist
