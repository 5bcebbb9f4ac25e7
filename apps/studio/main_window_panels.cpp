#include "main_window.h"

#include <QBuffer>
#include <QMessageBox>
#include <QPushButton>
#include <QScreen>
#include <QScrollArea>
#include <QStatusBar>
#include <QVBoxLayout>

#include "effect_words.h"
#include "export_panel.h"
#include "help_box.h"
#include "text.h"
#include "widgets/curve_view.h"

namespace larkmoor {

namespace {

constexpr int kSmallHeight = 760; ///< pixels of a window from below which settings, presets and scope share one place
constexpr int kTinyHeight = 560;  ///< and stack and effects, too
constexpr int kNarrow = 1200;     ///< pixels of a window from below which the picture needs what settings could use
constexpr int kPage = 520;        ///< pixels: all pages but Text's, with a scroll bar

enum Panel { kStack, kEffects, kSettings, kPresets, kScope };

} // namespace

void MainWindow::makeWidgets() {
    m_picture = new PictureView;
    m_picture->setAccessibleName(tr("Picture"));
    m_transport = new Transport;
    m_timeline = new Timeline;
    m_timeline->setAccessibleName(tr("Timeline"));
    m_stack = new StackPanel(m_document);
    m_effects = new EffectList;
    m_page = new PagePanel(m_document, PresetStore(m_folders.presets.toStdString()));
    m_scope = new ScopeView;
    m_scope->setAccessibleName(tr("Scope"));
    makeStatusBar();
    makePanels();
    makeWelcome();

    m_film = new QWidget;
    auto* const layout = new QVBoxLayout(m_film);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(2);
    layout->addWidget(makeMissing());
    layout->addWidget(m_picture, 1);
    layout->addWidget(m_transport);
    layout->addWidget(m_timeline);
    m_lanes = new KeyLanes(m_page->keys(), *m_timeline);
    layout->addWidget(m_lanes);
    auto* const curve = new CurveView(m_page->keys(), *m_lanes, *m_timeline);
    layout->addWidget(curve);
    curve->setWanted(m_page->keysButton()->isChecked());
    connect(m_page->keysButton(), &QPushButton::toggled, curve, &CurveView::setWanted);
    m_pages = new QStackedWidget;
    m_pages->addWidget(m_welcome);
    m_pages->addWidget(m_film);
    setCentralWidget(m_pages);

    connect(m_stack, &StackPanel::addRequested, this, &MainWindow::searchEffects);
    connect(m_effects, &EffectList::chosen, this, [this](const QString& key) { addEffect(key); });
    connect(m_stack, &StackPanel::effectDropped, this,
            [this](const QString& className, int at) { addEffect(className, at); });
    connectPage();
    connectFilm();
    connectPicture();
    connectHandles();
}

void MainWindow::makeStatusBar() {
    m_status = new QLabel;
    m_note = new QLabel;
    m_pixel = new QLabel;
    m_zoom = new QLabel;
    m_pixel->setTextFormat(Qt::PlainText);
    m_note->setTextFormat(Qt::PlainText);
    m_note->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred); // a long note must not widen the window
    m_busy = new QProgressBar;
    m_busy->setRange(0, 0); // nobody knows how long
    m_busy->setMaximumWidth(80);
    m_busy->setTextVisible(false);
    m_busy->setAccessibleName(tr("Reading"));
    statusBar()->addWidget(m_busy);
    m_busy->hide();
    statusBar()->addWidget(m_status);
    statusBar()->addWidget(m_note, 1);
    statusBar()->addPermanentWidget(m_pixel);
    statusBar()->addPermanentWidget(m_zoom);
}

QDockWidget* MainWindow::addPanel(const QString& name, const QString& title, QWidget* content) {
    auto* const panel = new QDockWidget(title, this);
    panel->setObjectName(name); // the arrangement is kept by it
    panel->setWidget(content);
    m_panels.push_back(panel);
    return panel;
}

void MainWindow::makePanels() {
    setDockNestingEnabled(true);
    setTabPosition(Qt::AllDockWidgetAreas, QTabWidget::North);
    addPanel(QStringLiteral("stack"), tr("Stack"), m_stack);
    addPanel(QStringLiteral("effects"), tr("Effects"), m_effects);
    addPanel(QStringLiteral("settings"), tr("Settings"), m_page);
    addPanel(QStringLiteral("presets"), tr("Presets"), m_page->presetsPanel());
    addPanel(QStringLiteral("scope"), tr("Scope"), m_scope);
    for (QDockWidget* panel : m_panels)
        addDockWidget(panel == m_panels[kStack] || panel == m_panels[kEffects] ? Qt::LeftDockWidgetArea
                                                                               : Qt::RightDockWidgetArea,
                      panel);
    for (QDockWidget* panel : m_panels) panel->hide();
    m_exportsPanel = new QDockWidget(tr("Exports"), this); // they go on without a film
    m_exportsPanel->setObjectName(QStringLiteral("exports"));
    m_exportsPanel->setWidget(new ExportPanel(m_exports));
    addDockWidget(Qt::BottomDockWidgetArea, m_exportsPanel);
    m_exportsPanel->hide();
}

/// The usual arrangement for a window of this size.
void MainWindow::arrange() {
    for (QDockWidget* panel : m_panels) {
        panel->setFloating(false);
        removeDockWidget(panel);
    }
    QDockWidget *const stack = m_panels[kStack], *const effects = m_panels[kEffects],
                       *const settings = m_panels[kSettings], *const presets = m_panels[kPresets],
                       *const scope = m_panels[kScope];
    addDockWidget(Qt::LeftDockWidgetArea, stack);
    addDockWidget(Qt::LeftDockWidgetArea, effects);
    for (QDockWidget* panel : {settings, presets, scope}) addDockWidget(Qt::RightDockWidgetArea, panel);
    for (QDockWidget* panel : m_panels) panel->show();
    const bool small = height() < kSmallHeight, tiny = height() < kTinyHeight;
    if (small) {
        tabifyDockWidget(settings, presets);
        tabifyDockWidget(presets, scope);
    }
    if (tiny) { // all in one place: each of two would be too narrow
        tabifyDockWidget(scope, stack);
        tabifyDockWidget(stack, effects);
    } else {
        stack->raise();
    }
    settings->raise();
    const int page = width() < kNarrow ? 400 : kPage;
    if (tiny)
        resizeDocks({settings}, {page}, Qt::Horizontal);
    else
        resizeDocks({stack, settings}, {small ? 260 : 308, page}, Qt::Horizontal);
    if (!tiny) resizeDocks({stack, effects}, {small ? 160 : 240, 520}, Qt::Vertical);
    if (!small) resizeDocks({settings, presets, scope}, {620, 130, 160}, Qt::Vertical);
}

/// Panels stand around a film, not around the welcome page.
void MainWindow::showPanels(bool shown) {
    const bool were = std::ranges::any_of(m_panels, [](const QDockWidget* panel) { return !panel->isHidden(); });
    if (!shown) {
        if (were) m_arrangement = saveState();
        for (QDockWidget* panel : m_panels) panel->hide();
    } else if (!were && (m_arrangement.isEmpty() || !restoreState(m_arrangement))) {
        arrange();
    }
}

void MainWindow::connectPage() {
    connect(m_page, &PagePanel::dragging, this, [this](bool active) {
        m_dragging = active;
        m_settle.start(); // a key held down or a wheel has no end of its own
        if (!active && m_shownHalf) refresh();
    });
    connect(m_page, &PagePanel::failed, this, &MainWindow::fail);
    connect(&m_page->keys(), &KeyEditor::changed, this, &MainWindow::showLimits);
    connect(&m_page->keys(), &KeyEditor::frameWanted, this, [this](qint64 frame) {
        if (m_player.isActive()) play(false);
        setFrame(frame);
    });
    connect(m_page, &PagePanel::presetsChanged, this, [this] { m_thumbnailsDue.start(); });
    connect(m_page, &PagePanel::helpWanted, this, &MainWindow::showHelp);
}

/// The picture that is shown now, without the effect and with it, as it is set or else as its last preset has it.
QString MainWindow::beforeAndAfter(const EffectInfo& info) const {
    constexpr int width = 250;
    const Surface before = m_before ? reduced(m_before, width) : Surface();
    if (!before) return {};
    const double scale = static_cast<double>(before.view().width) / m_before.view().width;
    const std::vector<std::byte> record = m_page->keys().record();
    const bool preset = record == info.defaults && info.kind == EffectKind::Filter && !info.presets.empty();
    const Surface after = thumbnail(m_module, info, preset ? info.presets.back().record : record, before, scale);
    QString row;
    for (const Surface& picture : {before, after}) {
        QByteArray bytes;
        QBuffer buffer(&bytes);
        imageOf(picture).save(&buffer, "PNG");
        row += "<td><img src=\"data:image/png;base64," + QString::fromLatin1(bytes.toBase64()) + "\"></td>";
    }
    const QString name = preset ? text(info.presets.back().name) : tr("as it is set");
    return "<table><tr>" + row + "</tr><tr><td>" + tr("Before") + "</td><td>" +
           tr("After (%1)").arg(name).toHtmlEscaped() + "</td></tr></table>";
}

void MainWindow::showHelp() {
    const LiveEffect* const effect = m_page->effect();
    if (!effect) return;
    QString help = "<h3>" + text(effect->info().name).toHtmlEscaped() + "</h3><p>" +
                   effectWords(effect->info()).about.toHtmlEscaped() + "</p>" + beforeAndAfter(effect->info()) + "<dl>";
    for (const tFieldInfo& field : effect->info().fields)
        help += "<dt>" + QString(field.label).remove('&').toHtmlEscaped() + "</dt><dd>" +
                QString(field.help).toHtmlEscaped() + "</dd>";
    help += "</dl><p>" +
            tr("A double-click on a slider's thumb goes to the mark below it. \"Reset this field\" in the menu of a "
               "field and \"Reset all\" go to what the effect has when it is added.") +
            "</p>";
    showHelpBox(this, tr("Help"), help);
}

void MainWindow::cut(qint64 in, qint64 out, bool final) {
    m_document.change(
        tr("Cut"),
        [&](Project& project) {
            moveKeys(project, project.in - in); // they stay with their pictures
            project.in = in;
            project.out.reset();
            if (out + 1 < m_facts.frames) project.out = out + 1;
        },
        "cut");
    if (final) m_document.settle();
}

void MainWindow::connectFilm() {
    m_transport->setFormatter([this](qint64 frame, int format) { return timeText(frame, format); });
    m_timeline->setTimeFormat([this](qint64 frame) { return timeText(frame, m_transport->timeFormat()); });
    connect(m_timeline, &Timeline::frameChanged, this, [this](int frame) {
        if (m_player.isActive()) play(false);
        setFrame(frame);
    });
    connect(m_timeline, &Timeline::scrubbing, this, [this](bool active) {
        m_scrubbing = active;
        if (!active) m_sound.stop();
        if (!active && m_shownHalf) refresh();
    });
    connect(m_timeline, &Timeline::inOutChanged, this, &MainWindow::cut);
    connect(m_transport, &Transport::firstRequested, this, [this] { setFrame(m_timeline->inOut().from); });
    connect(m_transport, &Transport::backRequested, this, [this] { setFrame(m_frame - 1); });
    connect(m_transport, &Transport::forwardRequested, this, [this] { setFrame(m_frame + 1); });
    connect(m_transport, &Transport::lastRequested, this, [this] { setFrame(m_timeline->inOut().to); });
    connect(m_transport, &Transport::playRequested, this, &MainWindow::play);
    connect(m_transport, &Transport::loopChanged, this, [this](bool loop) { m_loop = loop; });
    connect(m_transport, &Transport::inRequested, this,
            [this] { cut(m_frame, std::max<qint64>(m_frame, m_timeline->inOut().to), true); });
    connect(m_transport, &Transport::outRequested, this,
            [this] { cut(std::min<qint64>(m_frame, m_timeline->inOut().from), m_frame, true); });
    connect(m_transport, &Transport::timeFormatChanged, m_timeline, qOverload<>(&QWidget::update));
    m_transport->setLoop(m_loop);
}

void MainWindow::connectPicture() {
    connect(m_picture, &PictureView::spaceTapped, this, [this] { play(!m_player.isActive()); });
    connect(m_picture, &PictureView::zoomChanged, this, &MainWindow::showZoom);
    connect(m_picture, &PictureView::pixelHovered, this, [this](QPoint point, QRgb before, QRgb after, bool inside) {
        const auto values = [](QRgb pixel) {
            return QStringLiteral("%1 %2 %3 %4")
                .arg(qRed(pixel))
                .arg(qGreen(pixel))
                .arg(qBlue(pixel))
                .arg(qAlpha(pixel));
        };
        m_pixel->setText(inside
                             ? tr("%1, %2:  %3 → %4").arg(point.x()).arg(point.y()).arg(values(before), values(after))
                             : QString());
    });
}

} // namespace larkmoor
