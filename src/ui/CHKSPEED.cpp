#include "ui/CHKSPEED.h"

#include <QKeyEvent>
#include <QVBoxLayout>

namespace pa::ui {

CHKSPEED::CHKSPEED(QWidget* parent)
    : QWidget(parent, Qt::Tool), text_(new QLabel(this)), cancel_(new QPushButton("Cancel", this)) {
    setObjectName("CHKSPEED");
    text_->setObjectName("Text1");
    text_->setMinimumWidth(240);
    text_->setFrameShape(QFrame::StyledPanel);
    cancel_->setObjectName("Cancel");
    cancel_->hide();
    connect(cancel_, &QPushButton::clicked, this, [this] { cancelled_ = true; });
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(text_);
    layout->addWidget(cancel_, 0, Qt::AlignRight);
}

void CHKSPEED::setCancellable(bool offered) {
    cancelled_ = false;
    cancel_->setVisible(offered);
    if (offered)
        cancel_->setFocus();
}

void CHKSPEED::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Escape && cancel_->isVisible()) {
        cancel_->click();
        return;
    }
    QWidget::keyPressEvent(event);
}

} // namespace pa::ui
