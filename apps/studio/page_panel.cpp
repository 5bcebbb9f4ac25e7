#include "page_panel.h"

#include <QApplication>
#include <QFileDialog>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QInputDialog>
#include <QKeyEvent>
#include <QMenu>
#include <QMessageBox>
#include <QScopedValueRollback>
#include <QScrollBar>
#include <QSettings>
#include <QSignalBlocker>
#include <QVBoxLayout>

#include "json_node.h"
#include "levels.h"
#include "output_file.h"
#include "page/page_names.h"
#include "save_path.h"
#include "text.h"
#include "widgets/number_box.h"

namespace larkmoor {

namespace {

bool sameButLevels(const EffectInfo& info, std::vector<std::byte> record, const std::vector<std::byte>& other) {
    if (const tFieldInfo* const levels = levelsField(info)) setFieldText(*levels, record, fieldText(*levels, other));
    return record == other;
}

} // namespace

PagePanel::PagePanel(Document& document, PresetStore presets, QWidget* parent)
    : QWidget(parent), m_document(document), m_keys(document), m_user(std::move(presets)),
      m_scroll(new QScrollArea(this)), m_title(new QLabel(this)), m_durationLabel(new QLabel(tr("D&uration:"), this)),
      m_duration(new NumberBox(this)), m_keysButton(new QPushButton(tr("&Keys"), this)),
      m_pick(new QPushButton(tr("Pick the key color"), this)), m_keyList(new KeyList(m_keys)),
      m_keyScroll(new QScrollArea(this)), m_presets(new QWidget), m_strip(new PresetStrip(m_presets)),
      m_save(new QToolButton(this)), m_reset(new QToolButton(this)), m_more(new QToolButton(this)) {
    m_scroll->setFrameShape(QFrame::NoFrame);
    m_scroll->setFocusPolicy(Qt::NoFocus); // it follows what has the focus in it
    m_scroll->setAlignment(Qt::AlignTop | Qt::AlignHCenter);
    m_title->setWordWrap(true);
    m_title->setAlignment(Qt::AlignCenter);
    m_durationLabel->setBuddy(m_duration);
    m_duration->setRange(0.01, 86400);
    m_duration->setSingleStep(0.1);
    m_duration->setSuffix(tr(" s"));
    m_duration->setKeyboardTracking(false); // a number half typed is none
    m_keysButton->setCheckable(true);
    m_keysButton->setToolTip(tr("A diamond for each field: values that change from frame to frame"));
    m_keysButton->setChecked(QSettings().value("keys", false).toBool());
    m_keyScroll->setFrameShape(QFrame::NoFrame);
    m_keyScroll->setFocusPolicy(Qt::NoFocus);
    m_keyScroll->setWidgetResizable(true);
    m_keyScroll->setWidget(m_keyList);
    m_keyScroll->setMaximumHeight(200);
    m_pick->setCheckable(true);
    m_pick->setToolTip(tr("Click into the picture as it is before this effect; Escape gives up"));
    m_save->setText(tr("Save preset…"));
    m_save->setToolTip(tr("Keep these settings as a preset of your own"));
    m_reset->setText(tr("Reset all"));
    m_reset->setToolTip(tr("All fields back to the effect's defaults; a field's own menu resets that one"));
    m_duration->setFocusPolicy(Qt::StrongFocus); // the wheel scrolls past it
    m_duration->installEventFilter(this);
    m_more->setText(QStringLiteral("…"));
    m_more->setAccessibleName(tr("More about presets"));
    m_more->setPopupMode(QToolButton::InstantPopup);
    m_more->setMenu(makeMore());
    m_strip->setContextMenuPolicy(Qt::CustomContextMenu);
    auto* const buttons = new QHBoxLayout;
    buttons->addWidget(m_keysButton);
    buttons->addWidget(m_pick);
    buttons->addStretch();
    buttons->addWidget(m_reset);
    auto* const keep = new QHBoxLayout;
    keep->addStretch();
    keep->addWidget(m_save);
    keep->addWidget(m_more);
    auto* const strip = new QVBoxLayout(m_presets);
    strip->setContentsMargins(0, 0, 4, 0);
    strip->addWidget(m_strip, 1);
    strip->addLayout(keep);
    auto* const duration = new QHBoxLayout;
    duration->addWidget(m_durationLabel);
    duration->addWidget(m_duration);
    duration->addStretch();
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 4, 0);
    layout->addWidget(m_title);
    layout->addWidget(m_scroll, 1);
    layout->addLayout(duration);
    layout->addLayout(buttons);
    layout->addWidget(m_keyScroll);

    // By Tab the toolkit does so by itself, by a letter it does not; what is pressed stays where it is.
    connect(qApp, &QApplication::focusChanged, this, [this](QWidget*, QWidget* now) {
        if (m_page && now && m_page->isAncestorOf(now) && QApplication::mouseButtons() == Qt::NoButton)
            m_scroll->ensureWidgetVisible(now);
    });
    connect(m_strip, &PresetStrip::chosen, this, &PagePanel::choosePreset);
    connect(m_strip, &QWidget::customContextMenuRequested, this, &PagePanel::presetMenu);
    connect(m_keysButton, &QPushButton::clicked, this, [this](bool on) {
        QSettings().setValue("keys", on);
        showKeys();
    });
    connect(&m_keys, &KeyEditor::aboutToMove, this, [this] {
        if (m_page && !m_taking) m_page->commitEdits();
    });
    m_strip->installEventFilter(this);
    connect(m_save, &QToolButton::clicked, this, &PagePanel::askToSave);
    connect(m_reset, &QToolButton::clicked, this, &PagePanel::resetAll);
    connect(m_duration, &QDoubleSpinBox::valueChanged, this, &PagePanel::setDuration);
    connect(m_duration, &QDoubleSpinBox::editingFinished, this, [this] { m_document.settle(); });
    connect(&m_document, &Document::aboutToChange, this, [this] {
        if (m_page && !m_taking) m_page->commitEdits();
    });
    connect(&m_keys, &KeyEditor::changed, this, &PagePanel::show);
    connect(&m_document, &Document::started, this, [this] { m_fresh = true; });
    show();
}

QMenu* PagePanel::makeMore() {
    auto* const more = new QMenu(m_more);
    more->addAction(tr("&Save settings to a file…"), this, [this] {
        const QString path = askWhereToSave(
            this,
            {tr("Save settings"), {}, tr("Settings (*.state)"), QStringLiteral("state"), {QStringLiteral("state")}});
        if (!path.isEmpty()) attempt([&] { saveState(path); });
    });
    more->addAction(tr("&Load settings from a file…"), this, [this] {
        const QString path =
            QFileDialog::getOpenFileName(this, tr("Load settings"), {}, tr("Settings (*.state);;All files (*)"));
        if (!path.isEmpty()) attempt([&] { loadState(path); });
    });
    return more;
}

PagePanel::~PagePanel() {
    if (m_presets && !m_presets->parent()) delete m_presets;
    delete m_page; // it closes the page, which the effect has to outlive
}

void PagePanel::show() {
    const ProjectEffect* const effect = m_document.selectedEffect();
    const EffectInfo* const info = effect ? effect->info : nullptr;
    if (m_fresh || info != m_info || !(m_slot == m_document.selected())) {
        m_fresh = false;
        m_info = info;
        m_slot = m_document.selected();
        showPage();
    } else if (m_effect) {
        m_setting = true;
        m_effect->setRecord(m_keys.record());
        m_setting = false;
    }
    showKeys();
    showDuration();
}

void PagePanel::showDuration() {
    const Document::Snapshot project = m_document.project();
    const double* seconds = nullptr;
    if (project && m_slot.kind == Slot::Kind::Transition && project->second) seconds = &project->second->duration;
    if (project && m_slot.kind == Slot::Kind::Source)
        if (const auto* const generator = std::get_if<ProjectGenerator>(&project->source))
            seconds = &generator->duration;
    m_durationLabel->setVisible(seconds);
    m_duration->setVisible(seconds);
    const QSignalBlocker quiet(m_duration);
    if (seconds) m_duration->setValue(*seconds);
}

void PagePanel::setDuration(double seconds) {
    const Slot slot = m_slot;
    m_document.change(
        tr("Change the duration"),
        [&](Project& project) {
            if (slot.kind == Slot::Kind::Transition && project.second) project.second->duration = seconds;
            if (auto* const generator = std::get_if<ProjectGenerator>(&project.source);
                generator && slot.kind == Slot::Kind::Source)
                generator->duration = seconds;
        },
        "duration");
}

void PagePanel::showPage() {
    delete m_page;
    m_page = nullptr;
    m_effect.reset();
    m_title->clear();
    if (m_info) {
        attempt([&] {
            m_effect = std::make_unique<LiveEffect>(m_document.module(), *m_info, m_keys.record());
            connect(m_effect.get(), &LiveEffect::recordChanged, this, &PagePanel::takeRecord);
            if (CComPtr<IPropertyPage> page = m_effect->page()) {
                m_page = new PageView(std::move(page));
                m_scroll->setWidget(m_page);
                connect(m_page, &PageView::applied, this, [this] { emit dragging(true); });
                connect(m_page, &PageView::settled, this, [this] {
                    m_document.settle();
                    emit dragging(false);
                });
                connect(m_page, &PageView::menuAsked, this, [this](QMenu* menu, QWidget* under) {
                    menu->addSeparator();
                    menu->addAction(tr("&Reset this field"), this, [this, under] { resetField(under); })
                        ->setEnabled(hasField(under));
                    menu->addAction(tr("Reset a&ll fields"), this, &PagePanel::resetAll);
                });
                connect(m_page, &PageView::helpWanted, this, &PagePanel::helpWanted);
            } else {
                m_title->setText(tr("%1 has nothing to set.").arg(QString::fromStdString(m_info->name)));
            }
        });
    }
    m_pick->setVisible(m_info && m_info->className == "DXTChromaKeyFilter");
    m_pick->setChecked(false);
    showTitle();
    m_scroll->setVisible(m_page != nullptr);
    showPresets();
}

void PagePanel::showTitle() {
    if (!m_info) m_title->setText(m_document.project() ? m_facts : QString());
    m_title->setVisible(!m_title->text().isEmpty());
}

void PagePanel::setSourceFacts(const QString& facts) {
    m_facts = facts + "<p>" + tr("An effect that is added now comes first.") + "</p>";
    showTitle();
}

void PagePanel::showPresets() {
    m_records.clear();
    QStringList names;
    if (m_info) {
        for (const PresetInfo& preset : m_info->presets) {
            names << QString::fromStdString(preset.name);
            m_records.push_back(preset.record);
        }
        m_ownPresets = static_cast<int>(m_records.size());
        for (const std::string& name : m_user.names(*m_info)) {
            try {
                m_records.push_back(m_user.load(m_document.module(), *m_info, name, Values::Unchecked));
                names << text(name);
            } catch (const Error&) {
                // A file that holds no settings of this effect is no preset of it.
            }
        }
    }
    m_strip->setPresets(names);
    m_strip->setVisible(!names.isEmpty());
    for (QWidget* each : std::initializer_list<QWidget*>{m_save, m_reset, m_more}) each->setVisible(m_info && m_effect);
    emit presetsChanged();
}

void PagePanel::showKeys() {
    const bool any = m_info && !m_info->fields.empty();
    m_keysButton->setVisible(any);
    m_keyScroll->setVisible(any && m_keysButton->isChecked());
    const std::vector<std::byte> record = m_keys.record();
    const auto same = std::ranges::find_if(
        m_records, [&](const std::vector<std::byte>& each) { return sameButLevels(*m_info, each, record); });
    m_strip->setCurrent(same == m_records.end() ? -1 : static_cast<int>(same - m_records.begin()));
}

void PagePanel::takeRecord() {
    if (m_setting || !m_effect) return;
    const QScopedValueRollback<bool> taking(m_taking, true);
    const std::vector<std::byte> record = m_effect->record(), before = m_keys.record();
    // A preset of the page's own menu is no word about levels.
    const bool own = levelsField(*m_info) && record != before && sameButLevels(*m_info, record, before);
    setRecord(tr("Change %1").arg(QString::fromStdString(m_info->name)), record, own ? Levels::Own : Levels::AsTheyAre);
}

void PagePanel::setRecord(const QString& text, const std::vector<std::byte>& record, Levels levels) {
    if (!(m_slot == m_document.selected())) return; // the page is of another effect, and goes at once
    const QString key = QStringLiteral("record/%1/%2").arg(static_cast<int>(m_slot.kind)).arg(m_slot.index);
    const std::optional<bool> own = levels == Levels::AsTheyAre ? std::nullopt : std::optional(levels == Levels::Own);
    m_keys.setRecord(text, record, key, own);
    // What the change was brought to, even where that was no change.
    if (m_effect && m_keys.info()) {
        const QScopedValueRollback<bool> setting(m_setting, true);
        m_effect->setRecord(m_keys.record());
    }
}

const tFieldInfo* PagePanel::fieldOf(const QWidget* widget) const {
    if (!m_page || !widget) return nullptr;
    std::vector<QString> help;
    for (const tFieldInfo& field : m_info->fields) help.push_back(QString::fromUtf8(field.help));
    const int index = m_page->fieldOf(widget, help);
    return index < 0 ? nullptr : &m_info->fields[static_cast<std::size_t>(index)];
}

void PagePanel::resetField(const QWidget* widget) {
    const tFieldInfo* const field = fieldOf(widget);
    if (!field) return;
    m_page->commitEdits();
    std::vector<std::byte> record = m_keys.record();
    setFieldText(*field, record, fieldText(*field, m_info->defaults));
    m_document.settle();
    setRecord(tr("Reset %1").arg(plainName(QString::fromUtf8(field->label))), record,
              field == levelsField(*m_info) ? Levels::ThePictures : Levels::AsTheyAre);
    m_document.settle();
}

void PagePanel::resetAll() {
    if (!m_info || !m_effect) return;
    m_document.settle();
    setRecord(tr("Reset %1").arg(text(m_info->name)), m_info->defaults, Levels::ThePictures);
    m_document.settle();
}

void PagePanel::setByHand(const std::vector<std::byte>& record, bool final) {
    if (!m_info || !m_effect) return;
    setRecord(tr("Change %1").arg(text(m_info->name)), record);
    if (final) m_document.settle();
    emit dragging(!final);
}

void PagePanel::choosePreset(int index) {
    if (!m_info || index < 0 || index >= static_cast<int>(m_records.size())) return;
    m_document.settle();
    setRecord(tr("Apply a preset"), m_records[static_cast<std::size_t>(index)]);
    m_document.settle();
}

void PagePanel::saveState(const QString& path) {
    if (!m_effect) return;
    if (m_page) m_page->commitEdits();
    const std::vector<std::byte> state = m_effect->state();
    writeWhole(path.toStdString(), {reinterpret_cast<const char*>(state.data()), state.size()}, true);
}

void PagePanel::loadState(const QString& path) {
    if (!m_effect) return;
    const std::string state = readText(path.toStdString());
    const std::vector<std::byte> record = withPlace(path.toStdString(), [&] {
        return recordOfState(m_document.module(), *m_info, std::as_bytes(std::span(state)));
    });
    m_document.settle();
    setRecord(tr("Load settings"), record, Levels::Own);
    m_document.settle();
}

void PagePanel::saveUserPreset(const QString& name) {
    if (m_page) m_page->commitEdits();
    m_user.save(*m_info, name.toStdString(), m_effect->record(), true);
    showPresets();
    showKeys();
}

void PagePanel::askToSave() {
    bool ok = false;
    const QString name = QInputDialog::getText(this, tr("Save preset"), tr("&Name:"), QLineEdit::Normal, {}, &ok);
    if (!ok) return;
    if (!m_user.find(*m_info, name.toStdString()).empty() &&
        QMessageBox::question(this, tr("Save preset"), tr("There is a preset \"%1\" already. Replace it?").arg(name)) !=
            QMessageBox::Yes)
        return;
    attempt([&] { saveUserPreset(name); });
}

void PagePanel::presetMenu(const QPoint& position) {
    // By the keyboard it comes from no item's place.
    const QModelIndex under = m_strip->indexAt(position);
    const int index = under.isValid() ? under.row() : m_strip->currentIndex().row();
    if (index < m_ownPresets || !m_info) return;
    QMenu menu(this);
    menu.addAction(tr("&Remove \"%1\"").arg(m_strip->model()->index(index, 0).data().toString()), this,
                   [&] { removePreset(index); });
    menu.exec(m_strip->viewport()->mapToGlobal(position));
}

void PagePanel::removePreset(int index) {
    if (index < m_ownPresets || !m_info) return;
    const QString name = m_strip->model()->index(index, 0).data().toString();
    if (QMessageBox::question(this, tr("Remove preset"), tr("Remove the preset \"%1\"?").arg(name)) != QMessageBox::Yes)
        return;
    attempt([&] {
        m_user.remove(*m_info, name.toStdString());
        showPresets();
        showKeys();
    });
}

bool PagePanel::eventFilter(QObject* watched, QEvent* event) {
    if (watched == m_duration && event->type() == QEvent::Wheel && !m_duration->hasFocus()) {
        event->ignore();
        return true;
    }
    if (watched == m_strip && event->type() == QEvent::KeyPress &&
        static_cast<QKeyEvent&>(*event).key() == Qt::Key_Delete) {
        removePreset(m_strip->currentIndex().row());
        return true;
    }
    return QWidget::eventFilter(watched, event);
}

void PagePanel::attempt(const std::function<void()>& action) {
    try {
        action();
    } catch (const std::exception& error) {
        emit failed(QString::fromStdString(error.what()));
    }
}

} // namespace larkmoor
