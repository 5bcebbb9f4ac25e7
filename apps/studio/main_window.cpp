#include "main_window.h"

#include <QActionGroup>
#include <QApplication>
#include <QClipboard>
#include <QCloseEvent>
#include <QDesktopServices>
#include <QDir>
#include <QDragEnterEvent>
#include <QFileDialog>
#include <QFileInfo>
#include <QInputDialog>
#include <QMenuBar>
#include <QMessageBox>
#include <QMimeData>
#include <QProgressDialog>
#include <QPushButton>
#include <QScreen>
#include <QSettings>
#include <QSplitter>
#include <QStandardPaths>
#include <QStatusBar>
#include <QStyleFactory>
#include <QStyleHints>
#include <QVBoxLayout>

#include "demonstration.h"
#include "export_dialog.h"
#include "generator_dialog.h"
#include "kernels/broadcast.h"
#include "media/sequence.h"
#include "render_project.h"
#include "support/time_format.h"
#include "theme.h"

namespace larkmoor {

namespace {

constexpr double kSlowFrame = 40;    ///< milliseconds from which a drag is shown at half size
constexpr int kSettleDelay = 200;    ///< milliseconds after a drag until the full picture is asked for
constexpr int kThumbnailDelay = 400; ///< milliseconds without a new picture until thumbnails are made
constexpr int kMostRecent = 10;

enum ThumbnailGroup { kEffectThumbnails, kPresetThumbnails };

const char* const kRecent = "recent";
const char* const kTheme = "theme";
const char* const kFolder = "folder";

QString clipFilter() {
    return MainWindow::tr("Clips, pictures and projects (*.larkmoor *.mp4 *.mov *.mkv *.webm *.avi *.mxf *.mpg *.m2ts "
                          "*.ts *.png *.jpg *.jpeg *.tif *.tiff *.bmp *.webp *.exr *.dpx);;All files (*)");
}

/// Where the user was last.
QString lastFolder() {
    return QSettings().value(kFolder, QDir::homePath()).toString();
}

/// What a file of this project may be called, without an ending: the name of the project, else of its clip.
QString suggestedName(const Document& document) {
    if (!document.path().isEmpty()) return QFileInfo(document.path()).path() + '/' + document.name();
    const auto* const clip = std::get_if<ProjectClip>(&document.project()->source);
    if (!clip) return lastFolder() + '/' + document.name();
    const QFileInfo file(QString::fromStdString(clip->path));
    return file.path() + '/' + file.completeBaseName().remove('%') + "-larkmoor";
}

QString sequencePath(const QString& picture) {
    return QString::fromStdString(sequenceOf(picture.toStdString()));
}

QString text(const std::string& utf8) {
    return QString::fromStdString(utf8);
}

/// What a project's pictures depend on, apart from what is done to them.
std::string sourceKey(const Project& project) {
    Project bare;
    bare.source = project.source;
    bare.second = project.second;
    if (auto* const generator = std::get_if<ProjectGenerator>(&bare.source))
        generator->generator = projectEffect(*generator->generator.info);
    if (bare.second) bare.second->transition = projectEffect(*bare.second->transition.info);
    return projectText(bare, "/");
}

} // namespace

MainWindow::MainWindow(Module module, StudioFolders folders, QWidget* parent)
    : QMainWindow(parent), m_module(module), m_folders(std::move(folders)), m_document(module),
      m_autosave(m_document, m_folders.autosave), m_feed(m_module), m_thumbnails(module) {
    setAcceptDrops(true);
    makeWidgets();
    makeMenus();
    fillEffects();

    m_settle.setSingleShot(true);
    m_settle.setInterval(kSettleDelay);
    m_thumbnailsDue.setSingleShot(true);
    m_thumbnailsDue.setInterval(kThumbnailDelay);
    connect(&m_settle, &QTimer::timeout, this, [this] {
        m_dragging = false;
        if (m_shownHalf) refresh();
    });
    connect(&m_thumbnailsDue, &QTimer::timeout, this, &MainWindow::renderThumbnails);
    connect(&m_player, &QTimer::timeout, this, &MainWindow::tick);
    connect(&m_document, &Document::started, this, &MainWindow::started);
    connect(&m_document, &Document::changed, this, &MainWindow::showDocument);
    connect(&m_document, &Document::selectionChanged, this, [this] {
        showRamp();
        showLimits();
    });
    connect(&m_document, &Document::titleChanged, this, &MainWindow::showTitle);
    connect(&m_feed, &PreviewFeed::rendered, this, &MainWindow::take);
    connect(&m_feed, &PreviewFeed::failed, this, [this](const QString& sentence) { m_status->setText(sentence); });
    m_document.setFitter([this](Project& project) { fitCut(project); });
    // Notes about clips come from the threads that read and write them.
    takeWarnings([this](std::string_view sentence) {
        QMetaObject::invokeMethod(
            this,
            [this, note = text(std::string(sentence))] {
                m_note->setText(note);
                m_note->setToolTip(note);
            },
            Qt::QueuedConnection);
    });
    started();
    showRecent();
    const QSettings settings;
    setTheme(settings.value(kTheme, "system").toString());
    if (!restoreGeometry(settings.value("geometry").toByteArray()))
        resize(QSize(1400, 880).boundedTo(screen()->availableSize() - QSize(20, 40)));
}

MainWindow::~MainWindow() {
    takeWarnings({});
    m_player.stop();
    // The panels work on the document, and an edit on its way out still says what was typed.
    m_document.disconnect(this);
    delete takeCentralWidget();
}

// --- what is seen

void MainWindow::makeWidgets() {
    m_picture = new PictureView;
    m_picture->setAccessibleName(tr("Picture"));
    m_transport = new Transport;
    m_timeline = new Timeline;
    m_stack = new StackPanel(m_document);
    m_effects = new EffectList;
    m_page = new PagePanel(m_document, UserPresets(m_folders.presets));
    m_scope = new ScopeView;
    m_status = new QLabel;
    m_note = new QLabel;
    m_pixel = new QLabel;
    m_zoom = new QLabel;
    m_pixel->setTextFormat(Qt::PlainText);
    m_note->setTextFormat(Qt::PlainText);
    m_note->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred); // a long note must not widen the window
    statusBar()->addWidget(m_status);
    statusBar()->addWidget(m_note, 1);
    statusBar()->addPermanentWidget(m_pixel);
    statusBar()->addPermanentWidget(m_zoom);

    auto* const left = new QSplitter(Qt::Vertical);
    left->addWidget(m_stack);
    left->addWidget(m_effects);
    left->setStretchFactor(1, 1);
    left->setSizes({240, 520});
    auto* const film = new QWidget;
    auto* const filmLayout = new QVBoxLayout(film);
    filmLayout->setContentsMargins(0, 0, 0, 0);
    filmLayout->setSpacing(2);
    filmLayout->addWidget(m_picture, 1);
    filmLayout->addWidget(m_transport);
    filmLayout->addWidget(m_timeline);
    auto* const right = new QSplitter(Qt::Vertical);
    right->addWidget(m_page);
    right->addWidget(m_scope);
    right->setStretchFactor(0, 1);
    right->setSizes({600, 220});
    auto* const work = new QSplitter;
    work->addWidget(left);
    work->addWidget(film);
    work->addWidget(right);
    work->setStretchFactor(1, 1);
    work->setSizes({320, 640, m_sideWidth});
    connect(work, &QSplitter::splitterMoved, this, [this] { m_sideWidth = m_work->sizes()[2]; });
    // What is pushed to nothing would not be found again.
    for (QSplitter* each : {left, right, work}) each->setChildrenCollapsible(false);
    m_work = work;

    makeWelcome();
    m_pages = new QStackedWidget;
    m_pages->addWidget(m_welcome);
    m_pages->addWidget(m_work);
    setCentralWidget(m_pages);

    m_transport->setFormatter([this](qint64 frame, int format) { return timeText(frame, format); });
    m_timeline->setTimeFormat([this](qint64 frame) { return timeText(frame, m_transport->timeFormat()); });

    connect(m_stack, &StackPanel::addRequested, this, &MainWindow::searchEffects);
    connect(m_effects, &EffectList::chosen, this, &MainWindow::addEffect);
    connect(m_page, &PagePanel::dragging, this, [this](bool active) {
        m_dragging = active;
        m_settle.start(); // a key held down or a wheel has no end of its own
        if (!active && m_shownHalf) refresh();
    });
    connect(m_page, &PagePanel::failed, this, &MainWindow::fail);
    // Once the splitter has its own width.
    connect(m_page, &PagePanel::pageWidthChanged, this, &MainWindow::makeRoom, Qt::QueuedConnection);
    connect(m_page, &PagePanel::rampEndShown, this, [this](bool end) {
        if (const auto ramp = m_timeline->ramp(); ramp && !m_player.isActive()) setFrame(end ? ramp->to : ramp->from);
    });
    connect(m_page, &PagePanel::presetsChanged, this, [this] { m_thumbnailsDue.start(); });
    connect(m_page, &PagePanel::helpWanted, this, [this](int) {
        if (const LiveEffect* const effect = m_page->effect()) {
            QString help = "<b>" + text(effect->info().name).toHtmlEscaped() + "</b><dl>";
            for (const tFieldInfo& field : effect->info().fields)
                help += "<dt>" + QString(field.label).remove('&').toHtmlEscaped() + "</dt><dd>" +
                        QString(field.help).toHtmlEscaped() + "</dd>";
            QMessageBox box(QMessageBox::NoIcon, tr("Help"), help + "</dl>", QMessageBox::Ok, this);
            box.exec();
        }
    });

    connect(m_timeline, &Timeline::frameChanged, this, [this](int frame) {
        if (m_player.isActive()) play(false);
        setFrame(frame);
    });
    connect(m_timeline, &Timeline::scrubbing, this, [this](bool active) {
        m_scrubbing = active;
        if (!active && m_shownHalf) refresh();
    });
    const auto cut = [this](qint64 in, qint64 out, bool final) {
        m_document.change(
            tr("Cut"),
            [&](Project& project) {
                project.in = in;
                project.out.reset();
                if (out + 1 < m_facts.frames) project.out = out + 1;
            },
            "cut");
        if (final) m_document.settle();
    };
    connect(m_timeline, &Timeline::inOutChanged, this, cut);
    connect(m_timeline, &Timeline::rampChanged, this, [this](int from, int to, bool final) {
        const Slot slot = m_document.selected();
        m_document.change(
            tr("Move the ramp"),
            [&](Project& project) {
                if (ProjectEffect* const effect = effectIn(project, slot); effect && effect->ramp)
                    effect->ramp->frames = {from - project.in, to - project.in};
            },
            "ramp");
        if (final) m_document.settle();
    });
    connect(m_transport, &Transport::firstRequested, this, [this] { setFrame(m_timeline->inOut().from); });
    connect(m_transport, &Transport::backRequested, this, [this] { setFrame(m_frame - 1); });
    connect(m_transport, &Transport::forwardRequested, this, [this] { setFrame(m_frame + 1); });
    connect(m_transport, &Transport::lastRequested, this, [this] { setFrame(m_timeline->inOut().to); });
    connect(m_transport, &Transport::playRequested, this, &MainWindow::play);
    connect(m_transport, &Transport::loopChanged, this, [this](bool loop) { m_loop = loop; });
    connect(m_transport, &Transport::inRequested, this,
            [this, cut] { cut(m_frame, std::max<qint64>(m_frame, m_timeline->inOut().to), true); });
    connect(m_transport, &Transport::outRequested, this,
            [this, cut] { cut(std::min<qint64>(m_frame, m_timeline->inOut().from), m_frame, true); });
    connect(m_transport, &Transport::timeFormatChanged, m_timeline, qOverload<>(&QWidget::update));
    m_transport->setLoop(m_loop);
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

void MainWindow::makeWelcome() {
    m_welcome = new QWidget;
    auto* const heading = new QLabel(tr("Larkmoor"));
    QFont large = heading->font();
    large.setPointSizeF(large.pointSizeF() * 2);
    large.setBold(true);
    heading->setFont(large);
    auto* const what = new QLabel(tr("Drop a clip, a picture or a project here, or begin with one of these:"));
    auto* const layout = new QVBoxLayout;
    layout->addWidget(heading);
    layout->addWidget(what);
    const auto choice = [&](const QString& label, const std::function<void()>& act) {
        auto* const made = new QPushButton(label);
        made->setMinimumWidth(360);
        made->setAutoDefault(true); // Enter presses the one with the focus
        connect(made, &QPushButton::clicked, this, act);
        layout->addWidget(made);
        return made;
    };
    choice(tr("&Open a clip or picture…"), [this] { askOpen(); })->setObjectName("open");
    choice(tr("Open an image &sequence…"), [this] { askSequence(); });
    choice(tr("Begin with a &generator…"), [this] { askGenerator(); });
    choice(tr("Open the &demonstration clip"), [this] { openDemonstration(); })->setObjectName("demonstration");
    auto* const then =
        new QLabel(tr("Then choose effects from the list at the left. Their settings stand at the right,\n"
                      "the film below the picture, and File > Export writes the result."));
    layout->addSpacing(12);
    layout->addWidget(then);
    auto* const centred = new QVBoxLayout(m_welcome);
    centred->addStretch();
    auto* const row = new QHBoxLayout;
    row->addStretch();
    row->addLayout(layout);
    row->addStretch();
    centred->addLayout(row);
    centred->addStretch();
}

QAction* MainWindow::add(QMenu* menu, const QString& label, const QKeySequence& keys,
                         const std::function<void()>& act) {
    QAction* const action = menu->addAction(label, this, act);
    action->setShortcut(keys);
    return action;
}

void MainWindow::makeMenus() {
    const auto needs = [this](QAction* action) {
        m_needsProject.push_back(action);
        return action;
    };
    QMenu* const file = menuBar()->addMenu(tr("&File"));
    add(file, tr("&Open…"), QKeySequence::Open, [this] { askOpen(); });
    add(file, tr("Open image &sequence…"), {}, [this] { askSequence(); });
    m_recent = file->addMenu(tr("Open &recent"));
    add(file, tr("New from a &generator…"), QKeySequence::New, [this] { askGenerator(); });
    add(file, tr("Open the &demonstration clip"), {}, [this] { openDemonstration(); });
    file->addSeparator();
    needs(add(file, tr("Add a second &clip…"), {}, [this] { askSecond(); }));
    needs(add(file, tr("Re&place the clip…"), {}, [this] { askReplace(); }));
    needs(add(file, tr("So&urce settings…"), {}, [this] { askSource(); }));
    file->addSeparator();
    needs(add(file, tr("&Save project"), QKeySequence::Save, [this] { save(); }));
    needs(add(file, tr("Save project &as…"), QKeySequence(tr("Ctrl+Shift+S")), [this] { saveAs(); }));
    needs(add(file, tr("&Export…"), QKeySequence(tr("Ctrl+E")), [this] { exportFilm(); }));
    needs(add(file, tr("Save this &frame…"), QKeySequence(tr("Ctrl+Shift+E")), [this] { saveFrame(); }));
    file->addSeparator();
    needs(add(file, tr("&Close"), QKeySequence::Close, [this] {
        if (mayLeave()) m_document.close();
    }));
    add(file, tr("&Quit"), QKeySequence::Quit, [this] { close(); });

    QMenu* const edit = menuBar()->addMenu(tr("&Edit"));
    QAction* const undo = m_document.history().createUndoAction(this, tr("&Undo"));
    QAction* const redo = m_document.history().createRedoAction(this, tr("&Redo"));
    undo->setShortcut(QKeySequence::Undo);
    redo->setShortcut(QKeySequence::Redo);
    edit->addActions({undo, redo});
    edit->addSeparator();
    needs(add(edit, tr("&Add an effect"), QKeySequence(tr("Ctrl+F")), [this] { searchEffects(); }));
    needs(add(edit, tr("&Duplicate the effect"), QKeySequence(tr("Ctrl+D")), [this] { m_stack->duplicateSelected(); }));
    needs(
        add(edit, tr("Re&move the effect"), QKeySequence(tr("Ctrl+Backspace")), [this] { m_stack->removeSelected(); }));
    needs(
        add(edit, tr("Move the effect u&p"), QKeySequence(tr("Ctrl+Shift+Up")), [this] { m_stack->moveSelected(-1); }));
    needs(add(edit, tr("Move the effect do&wn"), QKeySequence(tr("Ctrl+Shift+Down")),
              [this] { m_stack->moveSelected(1); }));

    QMenu* const view = menuBar()->addMenu(tr("&View"));
    add(view, tr("&Fit"), QKeySequence(tr("Ctrl+0")), [this] { m_picture->setFit(); });
    add(view, tr("&Actual size"), QKeySequence(tr("Ctrl+1")), [this] { m_picture->setZoom(1); });
    add(view, tr("Zoom &in"), QKeySequence::ZoomIn, [this] { m_picture->zoomIn(); });
    add(view, tr("Zoom &out"), QKeySequence::ZoomOut, [this] { m_picture->zoomOut(); });
    view->addSeparator();
    const auto group = [this](QMenu* menu,
                              const std::vector<std::tuple<QString, QKeySequence, std::function<void()>>>& rows,
                              int current) {
        auto* const actions = new QActionGroup(this);
        for (int i = 0; const auto& [label, keys, act] : rows) {
            QAction* const action = add(menu, label, keys, act);
            action->setCheckable(true);
            action->setChecked(i++ == current);
            actions->addAction(action);
        }
    };
    group(view,
          {{tr("Af&ter"), QKeySequence(tr("F5")), [this] { m_picture->setMode(PictureView::Mode::After); }},
           {tr("&Before"), QKeySequence(tr("F6")), [this] { m_picture->setMode(PictureView::Mode::Before); }},
           {tr("Before and after, &split"), QKeySequence(tr("F7")),
            [this] { m_picture->setMode(PictureView::Mode::Split); }}},
          0);
    view->addSeparator();
    const auto toggle = [this](QMenu* menu, const QString& label, const QKeySequence& keys,
                               const std::function<void(bool)>& act) {
        QAction* const action = menu->addAction(label);
        action->setCheckable(true);
        action->setShortcut(keys);
        connect(action, &QAction::toggled, this, act);
    };
    toggle(view, tr("A&lpha"), QKeySequence(tr("F8")), [this](bool on) { m_picture->setAlphaView(on); });
    toggle(view, tr("Title-safe f&rames"), QKeySequence(tr("F9")), [this](bool on) { m_picture->setSafeFrames(on); });
    QMenu* const scope = view->addMenu(tr("S&cope"));
    using Kind = ScopeView::Kind;
    const auto showScope = [this](Kind kind) {
        return [this, kind] {
            m_scope->setVisible(true);
            m_scope->setKind(kind);
        };
    };
    group(scope,
          {{tr("&Histogram"), QKeySequence(tr("Alt+1")), showScope(Kind::Histogram)},
           {tr("&Waveform"), QKeySequence(tr("Alt+2")), showScope(Kind::Waveform)},
           {tr("&Composite waveform"), QKeySequence(tr("Alt+3")), showScope(Kind::Composite)},
           {tr("&Vectorscope"), QKeySequence(tr("Alt+4")), showScope(Kind::Vectorscope)},
           {tr("&None"), QKeySequence(tr("Alt+0")), [this] { m_scope->setVisible(false); }}},
          1);
    QMenu* const theme = view->addMenu(tr("T&heme"));
    const QString now = QSettings().value(kTheme, "system").toString();
    group(theme,
          {{tr("As the &desktop"), {}, [this] { setTheme("system"); }},
           {tr("&Light"), {}, [this] { setTheme("light"); }},
           {tr("Dar&k"), {}, [this] { setTheme("dark"); }}},
          now == "light"  ? 1
          : now == "dark" ? 2
                          : 0);

    QMenu* const film = menuBar()->addMenu(tr("F&ilm"));
    needs(add(film, tr("&Play or pause"), QKeySequence(tr("Ctrl+Space")), [this] { play(!m_player.isActive()); }));
    needs(add(film, tr("&Next frame"), QKeySequence(tr("Alt+Right")), [this] { setFrame(m_frame + 1); }));
    needs(add(film, tr("Pre&vious frame"), QKeySequence(tr("Alt+Left")), [this] { setFrame(m_frame - 1); }));
    needs(add(film, tr("&First frame"), QKeySequence(tr("Alt+Home")), [this] { setFrame(m_timeline->inOut().from); }));
    needs(add(film, tr("&Last frame"), QKeySequence(tr("Alt+End")), [this] { setFrame(m_timeline->inOut().to); }));
    film->addSeparator();
    needs(add(film, tr("Set &in point"), QKeySequence(tr("Ctrl+I")), [this] { emit m_transport->inRequested(); }));
    needs(add(film, tr("Set &out point"), QKeySequence(tr("Ctrl+Shift+O")),
              [this] { emit m_transport->outRequested(); }));

    QMenu* const help = menuBar()->addMenu(tr("&Help"));
    add(help, tr("&Keyboard"), QKeySequence::HelpContents, [this] { showShortcuts(); });
    add(help, tr("&About"), {}, [this] {
        QMessageBox::about(this, tr("About"),
                           tr("Larkmoor studio %1\n\n%2 video effects for stills and clips.")
                               .arg(LARKMOOR_VERSION)
                               .arg(m_module.effects().size()));
    });
}

void MainWindow::fillEffects() {
    std::vector<EffectEntry> entries;
    for (const EffectInfo& info : m_module.effects())
        entries.push_back({text(info.name),
                           info.kind == EffectKind::Filter       ? tr("Filter")
                           : info.kind == EffectKind::Transition ? tr("Transition")
                                                                 : tr("Generator"),
                           text(info.className),
                           {}});
    // Filters first; a bracket ahead of a name does not count.
    const auto order = [filter = tr("Filter")](const EffectEntry& entry) {
        return std::pair(entry.kind != filter, QString(entry.name).remove('('));
    };
    std::ranges::sort(entries, {}, order);
    m_effects->setEntries(entries);
}

// --- the document

void MainWindow::started() {
    play(false);
    m_before = {};
    m_lastFull = 0;
    const bool open = m_document.project() != nullptr;
    m_pages->setCurrentWidget(open ? m_work : m_welcome);
    for (QAction* action : m_needsProject) action->setEnabled(open);
    m_picture->setPictures({}, {});
    m_scope->setPicture({});
    m_status->clear();
    m_note->clear();
    focusWork();
    m_facts = {};
    m_source.clear();
    m_feed.forget();
    m_frame = 0;
    showTitle();
}

void MainWindow::showTitle() {
    setWindowTitle(m_document.project() ? m_document.name() + "[*] - Larkmoor" : QStringLiteral("Larkmoor"));
    setWindowModified(m_document.isChanged());
}

void MainWindow::showDocument() {
    const Document::Snapshot project = m_document.project();
    if (!project) return;
    showTitle();
    attempt([&] {
        // Effects do not change what the pictures are, and asking may wait for a frame.
        if (std::string source = sourceKey(*project); source != m_source) {
            m_facts = m_feed.facts(*project);
            m_source = std::move(source);
            m_timeline->setFrameRate(rate());
            m_timeline->setFrameCount(static_cast<int>(std::min<qint64>(m_facts.frames, INT_MAX)));
        }
        const PictureFacts& facts = m_facts;
        m_frame = std::clamp<qint64>(m_frame, 0, std::max<qint64>(facts.frames - 1, 0));
        m_timeline->setInOut(static_cast<int>(project->in), static_cast<int>(project->out.value_or(facts.frames)) - 1);
        m_timeline->setOverlap(facts.overlapFrames == 0
                                   ? std::optional<FrameRange>()
                                   : FrameRange{static_cast<int>(facts.overlapStart),
                                                static_cast<int>(facts.overlapStart + facts.overlapFrames - 1)});
        m_transport->setFrameCount(facts.frames);
        m_transport->setFrame(m_frame);
        m_timeline->setFrame(static_cast<int>(m_frame));
        m_picture->setFullSize({facts.width, facts.height});
        showRamp();
        showLimits();
        refresh();
    });
}

void MainWindow::showRamp() {
    const ProjectEffect* const effect = m_document.selectedEffect();
    const Document::Snapshot project = m_document.project();
    if (!effect || !effect->ramp || m_facts.frames == 0) {
        m_timeline->setRamp({});
        return;
    }
    const qint64 last = project->out.value_or(m_facts.frames) - project->in - 1;
    auto [from, to] = effect->ramp->frames.value_or(std::pair<std::int64_t, std::int64_t>(0, last));
    m_timeline->setRamp(FrameRange{static_cast<int>(from + project->in), static_cast<int>(to + project->in)});
}

/// Another source may have fewer pictures than were cut.
void MainWindow::fitCut(Project& project) {
    if ((project.in == 0 && !project.out) || sourceKey(project) == m_source) return;
    try {
        const std::int64_t frames = m_feed.facts(project).frames;
        if (project.out && *project.out >= frames) project.out.reset();
        if (project.in >= frames) project.in = 0;
    } catch (const Error&) {
        // What is wrong with the source is told when it is shown.
    }
}

/// The scopes show the limits of the broadcast effect that is selected.
void MainWindow::showLimits() {
    const ProjectEffect* const effect = m_document.selectedEffect();
    if (!effect || effect->info->className != "DXTBroadcastColors") {
        m_scope->clearLimits();
        m_scope->setLevels({});
        return;
    }
    tBROADCASTPROP limits;
    std::memcpy(&limits, effect->record.data(), std::min(sizeof limits, effect->record.size()));
    m_scope->setLevels({.studio = limits.studioRGB != 0, .setup = limits.setup != 0});
    m_scope->setLimits(limits.lumaMin, limits.lumaMax, limits.chromaMax, limits.compositeMin, limits.compositeMax);
}

void MainWindow::setFrame(qint64 frame) {
    frame = std::clamp<qint64>(frame, 0, std::max<qint64>(m_facts.frames - 1, 0));
    if (frame == m_frame) return;
    m_frame = frame;
    m_timeline->setFrame(static_cast<int>(frame));
    m_transport->setFrame(frame);
    refresh();
}

void MainWindow::refresh() {
    if (!m_document.project()) return;
    const bool moving = m_dragging || m_scrubbing || m_player.isActive();
    m_feed.request(m_document.project(), m_frame, moving && m_lastFull > kSlowFrame);
}

void MainWindow::take(const PreviewResult& result) {
    if (!m_document.project()) return;
    if (!result.half) m_lastFull = result.milliseconds;
    m_shownHalf = result.half;
    m_picture->setPictures(result.before, result.after, av_q2d(m_facts.aspect));
    m_scope->setPicture(result.after);
    m_status->setText(
        tr("%1 ms%2").arg(result.milliseconds, 0, 'f', 1).arg(result.half ? tr(" at half size") : QString()));
    showZoom();
    const bool first = !m_before;
    m_before = result.before;
    if (first)
        renderThumbnails();
    else
        m_thumbnailsDue.start();
    emit frameShown(result.frame, result.half, result.milliseconds);
}

void MainWindow::showZoom() {
    const QString percent = tr("%1 %").arg(m_picture->zoom() * 100, 0, 'f', 0);
    m_zoom->setText(m_picture->isFit() ? tr("Fit, %1").arg(percent) : percent);
}

void MainWindow::renderThumbnails() {
    if (!m_before || m_player.isActive()) return;
    std::vector<ThumbnailJob> presets;
    if (const LiveEffect* const effect = m_page->effect())
        for (int i = 0; const std::vector<std::byte>& record : m_page->presetRecords())
            presets.push_back({&effect->info(), record,
                               [this, i = i++](const QImage& image) { m_page->setPresetThumbnail(i, image); }});
    m_thumbnails.make(kPresetThumbnails, m_before, std::move(presets));
    std::vector<ThumbnailJob> effects;
    for (const EffectInfo& info : m_module.effects()) {
        // The default of many effects leaves the picture alone; their last preset shows what they are for.
        const bool telling = info.kind == EffectKind::Filter && !info.presets.empty();
        effects.push_back(
            {&info, telling ? info.presets.back().record : info.defaults,
             [this, key = text(info.className)](const QImage& image) { m_effects->setThumbnail(key, image); }});
    }
    m_thumbnails.make(kEffectThumbnails, m_before, std::move(effects));
}

QString MainWindow::timeText(qint64 frame, int format) const {
    const double rate = this->rate();
    const tTIMEFORMAT how{.format = format,
                          .samplesPerSecond = 48000,
                          .frameRate = rate,
                          .tempo = 120,
                          .offset = 0,
                          .beatUnit = 4,
                          .beatsPerMeasure = 4,
                          .ticksPerBeat = 960};
    char written[128];
    // Half a unit of 100 ns keeps a frame from falling back to the one before it.
    FormatTime(written, how, static_cast<std::int64_t>(static_cast<double>(frame) / rate * 1e7 + 0.5),
               format == kTimeFrames); // frames are whole, all other formats tell them apart by their fraction
    return QString::fromUtf8(written);
}

// --- playing

void MainWindow::play(bool on) {
    on = on && m_document.project() && m_facts.frames > 1;
    if (on) {
        const FrameRange range = m_timeline->inOut();
        if (m_frame < range.from || m_frame >= range.to) setFrame(range.from);
        m_playFrom = m_frame;
        m_playClock.start();
        m_player.start(std::max(1, static_cast<int>(500 / rate()))); // looked at twice a frame
    } else if (m_player.isActive()) {
        m_player.stop();
        refresh();
    }
    m_transport->setPlaying(on);
}

void MainWindow::tick() {
    if (m_feed.isBusy()) return; // frames that come too late are left out
    const FrameRange range = m_timeline->inOut();
    qint64 frame = m_playFrom + static_cast<qint64>(static_cast<double>(m_playClock.elapsed()) * rate() / 1000);
    if (frame > range.to) {
        if (!m_loop) {
            setFrame(range.to);
            play(false);
            return;
        }
        m_playFrom = frame = range.from;
        m_playClock.restart();
    }
    setFrame(frame);
}

// --- opening

bool MainWindow::open(const QString& path) {
    bool opened = false;
    attempt([&] {
        if (isProject(path.toStdString())) {
            Project project = loadProject(m_module, path.toStdString());
            bool changed = false;
            if (!findClips(project, changed)) return;
            m_feed.facts(project);
            m_document.start(std::move(project), QFileInfo(path).absoluteFilePath(), changed);
        } else {
            Project project;
            project.source = ProjectClip{QFileInfo(path).absoluteFilePath().toStdString(), {}};
            m_feed.facts(project);
            m_document.start(std::move(project), {});
        }
        remember(path);
        opened = true;
    });
    return opened;
}

void MainWindow::startGenerator(const EffectInfo& info, QSize size, AVRational rate, double seconds) {
    attempt([&] {
        Project project;
        project.source = ProjectGenerator{projectEffect(info), size.width(), size.height(), rate, seconds};
        m_document.start(std::move(project), {});
    });
}

void MainWindow::addSecond(const QString& path) {
    attempt([&] {
        if (!m_document.project() || !std::holds_alternative<ProjectClip>(m_document.project()->source))
            throw Error("A second clip comes after a first one; open a clip first.");
        Project tried = *m_document.project();
        if (tried.second) {
            tried.second->path = QFileInfo(path).absoluteFilePath().toStdString();
        } else {
            tried.second = ProjectSecond{QFileInfo(path).absoluteFilePath().toStdString(),
                                         projectEffect(m_module.find("Dissolve")), 1};
        }
        m_feed.facts(tried);
        m_document.change(tr("Add a second clip"), [&](Project& project) { project = tried; });
        m_document.select({Slot::Kind::Transition, 0});
    });
}

void MainWindow::addEffect(const QString& className) {
    attempt([&] {
        const EffectInfo& info = m_module.find(className.toStdString());
        const Document::Snapshot project = m_document.project();
        if (!project) return;
        if (info.kind == EffectKind::Transition) {
            if (!project->second) askSecond();
            if (m_document.project()->second)
                m_document.change(tr("Choose %1").arg(text(info.name)),
                                  [&](Project& next) { next.second->transition = projectEffect(info); });
            m_document.select({Slot::Kind::Transition, 0});
            return;
        }
        const Slot selected = m_document.selected();
        const int at =
            selected.kind == Slot::Kind::Effect ? selected.index + 1 : static_cast<int>(project->effects.size());
        m_document.change(tr("Add %1").arg(text(info.name)), [&](Project& next) {
            ProjectEffect effect = projectEffect(info);
            effect.over = info.kind == EffectKind::Generator;
            next.effects.insert(next.effects.begin() + at, std::move(effect));
        });
        m_document.select({Slot::Kind::Effect, at});
    });
}

void MainWindow::searchEffects() {
    m_effects->filterField()->setFocus();
    m_effects->filterField()->selectAll();
}

void MainWindow::askOpen() {
    if (!mayLeave()) return;
    const QString path = QFileDialog::getOpenFileName(this, tr("Open"), lastFolder(), clipFilter());
    if (!path.isEmpty()) open(path);
}

void MainWindow::askSequence() {
    if (!mayLeave()) return;
    const QString path =
        QFileDialog::getOpenFileName(this, tr("Open the first picture of a sequence"), lastFolder(),
                                     tr("Pictures (*.png *.jpg *.jpeg *.tif *.tiff *.bmp *.exr *.dpx)"));
    if (path.isEmpty()) return;
    const QString sequence = sequencePath(path);
    if (sequence.isEmpty())
        fail(tr("%1 has no number in its name; the pictures of a sequence are numbered.")
                 .arg(QFileInfo(path).fileName()));
    else
        open(sequence);
}

void MainWindow::askSecond() {
    const QString path = QFileDialog::getOpenFileName(this, tr("Second clip"), lastFolder(), clipFilter());
    if (!path.isEmpty()) addSecond(path);
}

void MainWindow::askReplace() {
    const QString path = QFileDialog::getOpenFileName(this, tr("Replace the clip"), lastFolder(), clipFilter());
    if (path.isEmpty()) return;
    attempt([&] {
        Project next = *m_document.project();
        next.source = ProjectClip{QFileInfo(path).absoluteFilePath().toStdString(), {}};
        next.in = 0;
        next.out.reset();
        m_feed.facts(next);
        m_document.change(tr("Replace the clip"), [&](Project& project) { project = next; });
    });
}

void MainWindow::askGenerator() {
    if (!mayLeave()) return;
    GeneratorDialog dialog(m_module, this);
    if (dialog.exec() != QDialog::Accepted) return;
    attempt([&] { startGenerator(dialog.generator(), dialog.size(), dialog.rate(), dialog.seconds()); });
}

void MainWindow::askSource() {
    const Project& project = *m_document.project();
    if (const auto* const generator = std::get_if<ProjectGenerator>(&project.source)) {
        GeneratorDialog dialog(m_module, this);
        dialog.show(*generator);
        if (dialog.exec() != QDialog::Accepted) return;
        attempt([&] {
            ProjectGenerator source = *generator;
            if (source.generator.info != &dialog.generator()) source.generator = projectEffect(dialog.generator());
            source.width = dialog.size().width();
            source.height = dialog.size().height();
            source.rate = dialog.rate();
            source.duration = dialog.seconds();
            m_document.change(tr("Change the source"), [&](Project& next) { next.source = source; });
        });
        return;
    }
    const auto& clip = std::get<ProjectClip>(project.source);
    if (!isSequence(clip.path)) {
        QMessageBox::information(this, tr("Source"),
                                 tr("%1\n\n%2 × %3 pixels, %4 frames a second, %5 frames")
                                     .arg(text(clip.path))
                                     .arg(m_facts.width)
                                     .arg(m_facts.height)
                                     .arg(rate(), 0, 'g', 5)
                                     .arg(m_facts.frames));
        return;
    }
    bool ok = false;
    const QString asked = QInputDialog::getText(this, tr("Source"), tr("&Frames a second:"), QLineEdit::Normal,
                                                QString::number(rate(), 'g', 6), &ok);
    if (!ok) return;
    attempt([&] {
        ProjectClip source = clip;
        source.rate = parseRate(asked.trimmed().toStdString());
        m_document.change(tr("Change the source"), [&](Project& next) { next.source = source; });
    });
}

void MainWindow::openDemonstration() {
    if (!mayLeave() || m_maker) return;
    const QString folder =
        m_folders.cache.isEmpty() ? QStandardPaths::writableLocation(QStandardPaths::CacheLocation) : m_folders.cache;
    const QString path = folder + QStringLiteral("/demonstration.mp4");
    if (QFileInfo::exists(path)) {
        open(path);
        return;
    }
    QDir().mkpath(folder);
    m_maker = std::make_unique<Exporter>(m_module);
    auto* const progress = new QProgressDialog(tr("Making the demonstration clip…"), tr("Cancel"), 0, 100, this);
    progress->setWindowModality(Qt::WindowModal);
    connect(progress, &QProgressDialog::canceled, m_maker.get(), &Exporter::cancel);
    connect(m_maker.get(), &Exporter::progress, progress, [progress](qint64 done, qint64 total) {
        if (total > 0) progress->setValue(static_cast<int>(done * 99 / total));
    });
    connect(m_maker.get(), &Exporter::finished, this, [this, progress, path](bool done, const QString& sentence) {
        progress->deleteLater();
        m_maker.release()->deleteLater();
        if (done)
            open(path);
        else if (!sentence.isEmpty())
            fail(sentence);
    });
    OutputRequest out;
    out.path = path.toStdString();
    out.overwrite = true;
    out.threads = static_cast<int>(std::max(1u, std::thread::hardware_concurrency()));
    m_maker->start(std::make_shared<const Project>(demonstrationProject(m_module)), out);
}

/// Asks where clips are that are not where the project has them. False when the user gives up.
bool MainWindow::findClips(Project& project, bool& changed) {
    std::vector<std::string*> paths;
    if (auto* const clip = std::get_if<ProjectClip>(&project.source)) paths.push_back(&clip->path);
    if (project.second) paths.push_back(&project.second->path);
    for (std::string* path : paths) {
        if (isSequence(*path)) continue;
        while (!QFileInfo::exists(text(*path))) {
            QMessageBox box(QMessageBox::Question, tr("Larkmoor"),
                            tr("The clip %1 is not there any more. Where is it now?").arg(text(*path)),
                            QMessageBox::Cancel, this);
            const QAbstractButton* const find = box.addButton(tr("&Find it…"), QMessageBox::AcceptRole);
            box.exec();
            if (box.clickedButton() != find) return false;
            const QString found =
                QFileDialog::getOpenFileName(this, QFileInfo(text(*path)).fileName(), lastFolder(), clipFilter());
            if (found.isEmpty()) continue;
            *path = found.toStdString();
            changed = true;
        }
    }
    return true;
}

/// The right side as wide as the user left it, or as its page where that is wider; the film gives way, and gets its
/// room back with the next page.
void MainWindow::makeRoom(int pageWidth) {
    constexpr int kLeastFilm = 320;
    QList<int> sizes = m_work->sizes();
    const int both = sizes[1] + sizes[2];
    if (both <= kLeastFilm) return; // not laid out yet
    sizes[2] = std::min(std::max(m_sideWidth, pageWidth), both - kLeastFilm);
    sizes[1] = both - sizes[2];
    m_work->setSizes(sizes);
}

// --- saving

bool MainWindow::mayLeave() {
    if (PageView* const page = m_page->page()) page->commitEdits();
    if (!m_document.isChanged()) return true;
    QMessageBox box(QMessageBox::Question, tr("Larkmoor"), tr("Save the changes to %1?").arg(m_document.name()),
                    QMessageBox::Save | QMessageBox::Discard | QMessageBox::Cancel, this);
    const int answer = box.exec();
    return answer == QMessageBox::Discard || (answer == QMessageBox::Save && save());
}

bool MainWindow::saveTo(const QString& path) {
    if (PageView* const page = m_page->page()) page->commitEdits();
    return attempt([&] {
        m_document.save(path);
        remember(path);
    });
}

bool MainWindow::save() {
    return m_document.path().isEmpty() ? saveAs() : saveTo(m_document.path());
}

bool MainWindow::saveAs() {
    QString path = QFileDialog::getSaveFileName(
        this, tr("Save project"), suggestedName(m_document) + QStringLiteral(".larkmoor"), tr("Projects (*.larkmoor)"));
    if (path.isEmpty()) return false;
    if (!isProject(path.toStdString())) path += QStringLiteral(".larkmoor");
    return saveTo(path);
}

void MainWindow::exportFilm() {
    if (PageView* const page = m_page->page()) page->commitEdits();
    play(false);
    ExportDialog dialog(m_document, suggestedName(m_document) + QStringLiteral(".mp4"), this);
    connect(&dialog, &ExportDialog::exported, this,
            [this](const QString& path) { m_status->setText(tr("%1 is written.").arg(path)); });
    dialog.exec();
}

void MainWindow::saveFrame() {
    const QString path =
        QFileDialog::getSaveFileName(this, tr("Save this frame"), suggestedName(m_document) + QStringLiteral(".png"),
                                     tr("Pictures (*.png *.tif *.jpg)"));
    if (path.isEmpty()) return;
    // One frame of the project, by the way of every export; the ramps keep their places.
    Project one = *m_document.project();
    const std::int64_t shift = m_frame - one.in;
    const std::int64_t last = one.out.value_or(m_facts.frames) - one.in - 1;
    for (ProjectEffect& effect : one.effects)
        if (effect.ramp) {
            const auto [from, to] = effect.ramp->frames.value_or(std::pair<std::int64_t, std::int64_t>(0, last));
            effect.ramp->frames = {from - shift, to - shift};
        }
    one.in = m_frame;
    one.out = m_frame + 1;
    attempt([&] {
        OutputRequest out;
        out.path = path.toStdString();
        out.overwrite = true; // the dialog asked
        renderProject(m_module, one, out);
        m_status->setText(tr("%1 is written.").arg(path));
    });
}

void MainWindow::offerLostWork() {
    for (const LostWork& work : m_autosave.lost()) {
        const QString name =
            work.original.isEmpty() ? tr("a project without a name") : QFileInfo(work.original).fileName();
        QMessageBox box(QMessageBox::Question, tr("Larkmoor"),
                        tr("Larkmoor did not end well last time. Open the unsaved changes to %1?").arg(name),
                        QMessageBox::Open | QMessageBox::Discard | QMessageBox::Cancel, this);
        const int answer = box.exec();
        if (answer == QMessageBox::Cancel) return; // they are offered again next time
        bool opened = answer != QMessageBox::Open;
        attempt([&] {
            if (opened) return;
            Project project = loadProject(m_module, work.file.toStdString());
            bool changed = false;
            if (!findClips(project, changed)) return;
            m_document.start(std::move(project), work.original, true);
            opened = true;
        });
        if (!opened) return;
        Autosave::forget(work);
        if (answer == QMessageBox::Open) return;
    }
}

// --- the rest

void MainWindow::remember(const QString& path) {
    QSettings settings;
    QStringList paths = settings.value(kRecent).toStringList();
    const QString whole = QFileInfo(path).absoluteFilePath();
    paths.removeAll(whole);
    paths.prepend(whole);
    settings.setValue(kRecent, paths.mid(0, kMostRecent));
    settings.setValue(kFolder, QFileInfo(whole).path());
    showRecent();
}

void MainWindow::showRecent() {
    m_recent->clear();
    for (const QString& path : QSettings().value(kRecent).toStringList())
        m_recent->addAction(QDir::toNativeSeparators(path).replace('&', QStringLiteral("&&")), this, [this, path] {
            if (mayLeave()) open(path);
        });
    m_recent->setEnabled(!m_recent->isEmpty());
}

void MainWindow::showShortcuts() {
    QString rows;
    for (const QAction* action : findChildren<QAction*>())
        if (!action->shortcut().isEmpty())
            rows += "<tr><td>" + action->text().remove('&').toHtmlEscaped() + "</td><td>&nbsp;&nbsp;" +
                    action->shortcut().toString(QKeySequence::NativeText).toHtmlEscaped() + "</td></tr>";
    rows += tr("<tr><td colspan=2><br>In the picture: space plays, + and - zoom, [ and ] move the split.<br>"
               "In the timeline: arrows step, I and O set the in and out points, [ and ] the ends of the ramp.<br>"
               "On a slider: a double-click on its thumb returns to the default, Escape takes a drag back.</td></tr>");
    QMessageBox box(QMessageBox::NoIcon, tr("Keyboard"), "<table>" + rows + "</table>", QMessageBox::Ok, this);
    box.exec();
}

void MainWindow::setTheme(const QString& name) {
    applyTheme(name);
    QSettings().setValue(kTheme, name);
}

void MainWindow::fail(const QString& sentence) {
    QMessageBox::warning(this, tr("Larkmoor"), sentence);
}

bool MainWindow::attempt(const std::function<void()>& action) {
    try {
        action();
        return true;
    } catch (const std::bad_alloc&) {
        fail(tr("Memory is short."));
    } catch (const std::exception& error) {
        fail(text(error.what()));
    }
    return false;
}

void MainWindow::closeEvent(QCloseEvent* event) {
    if (!mayLeave()) {
        event->ignore();
        return;
    }
    QSettings().setValue("geometry", saveGeometry());
    m_document.close();
    event->accept();
}

void MainWindow::showEvent(QShowEvent* event) {
    QMainWindow::showEvent(event);
    focusWork();
}

void MainWindow::focusWork() {
    if (m_document.project())
        m_picture->setFocus();
    else
        m_welcome->findChild<QPushButton*>("open")->setFocus();
}

void MainWindow::dragEnterEvent(QDragEnterEvent* event) {
    if (event->mimeData()->hasUrls() && event->mimeData()->urls().first().isLocalFile()) event->acceptProposedAction();
}

void MainWindow::dropEvent(QDropEvent* event) {
    QStringList paths;
    for (const QUrl& url : event->mimeData()->urls())
        if (url.isLocalFile()) paths << url.toLocalFile();
    if (paths.isEmpty()) return;
    paths.sort();
    // The numbered pictures of one name are one sequence.
    if (const QString sequence = sequencePath(paths[0]); paths.size() > 1 && !sequence.isEmpty())
        if (std::ranges::all_of(paths, [&](const QString& path) { return sequencePath(path) == sequence; }))
            paths = {sequence};
    const auto* const clip = m_document.project() ? std::get_if<ProjectClip>(&m_document.project()->source) : nullptr;
    if (clip && paths.size() == 1 && !isProject(paths[0].toStdString())) {
        QMenu menu(this);
        QAction* const opens = menu.addAction(tr("&Open"));
        QAction* const joins = menu.addAction(tr("Use as the &second clip"));
        menu.addSeparator();
        menu.addAction(tr("&Cancel"));
        const QAction* const chosen = menu.exec(mapToGlobal(event->position().toPoint()));
        if (chosen == joins) addSecond(paths[0]);
        if (chosen != opens) return;
    }
    if (!mayLeave() || !open(paths[0])) return;
    if (paths.size() > 1) addSecond(paths[1]);
    if (paths.size() > 2) tell(tr("Two of %1 files are open.").arg(paths.size()));
}

} // namespace larkmoor
