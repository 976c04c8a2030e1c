#include "ui/CHKSPEED.h"

#include <QVBoxLayout>

namespace pa::ui {

CHKSPEED::CHKSPEED(QWidget* parent) : QWidget(parent, Qt::Tool), text_(new QLabel(this)) {
    setObjectName("CHKSPEED");
    text_->setObjectName("Text1");
    text_->setMinimumWidth(240);
    text_->setFrameShape(QFrame::StyledPanel);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(text_);
}

} // namespace pa::ui
