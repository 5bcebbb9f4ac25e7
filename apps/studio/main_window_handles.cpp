// What of the selected effect is set in the picture itself.
#include "main_window.h"

namespace larkmoor {

void MainWindow::connectHandles() {
    const auto size = [this] { return QSizeF(m_facts.width * av_q2d(m_facts.aspect), m_facts.height); };
    connect(&m_page->keys(), &KeyEditor::changed, this, [this, size] {
        const EffectInfo* const info = m_page->keys().info();
        m_picture->setHandle(info ? handleOf(*info, m_page->keys().record(), size()) : std::nullopt);
    });
    connect(m_picture, &PictureView::handleDragged, this, [this, size](QPointF at, bool final) {
        if (const EffectInfo* const info = m_page->keys().info())
            m_page->setByHand(recordWithHandle(*info, m_page->keys().record(), at, size()), final);
    });
    connect(m_page->pickButton(), &QPushButton::toggled, this, [this](bool on) {
        if (on) play(false);
        m_picture->setPicking(on);
        if (on) m_picture->setMode(PictureView::Mode::After);
        refresh();
    });
    connect(m_picture, &PictureView::picked, this, &MainWindow::pick);
}

/// The project without the effect that is to get the color, and what follows it.
Document::Snapshot MainWindow::pickedFrom() const {
    auto before = std::make_shared<Project>(*m_document.project());
    const Slot selected = m_document.selected();
    if (selected.kind == Slot::Kind::Effect) before->effects.resize(static_cast<std::size_t>(selected.index));
    return before;
}

void MainWindow::pick(const QColor& color) {
    const EffectInfo* const info = m_page->keys().info();
    if (color.isValid() && info) {
        std::vector<std::byte> record = m_page->keys().record();
        setFieldText(info->field("color"), record, color.name().toStdString());
        m_page->setByHand(record, true);
    }
    m_page->pickButton()->setChecked(false);
}

} // namespace larkmoor
