#include "main_window.h"

#include <QCloseEvent>
#include <QMessageBox>
#include <QPushButton>
#include <QScreen>
#include <QSettings>

#include "levels.h"
#include "platform/exports.h"
#include "project_fit.h"
#include "source_facts.h"
#include "text.h"
#include "theme.h"

namespace larkmoor {

namespace {

constexpr double kSlowFrame = 40;    ///< milliseconds from which a drag is shown at half size
constexpr int kSettleDelay = 200;    ///< milliseconds after a drag until the full picture is asked for
constexpr int kLate = 400;           ///< milliseconds from which waiting for a picture is told
constexpr int kThumbnailDelay = 400; ///< milliseconds without a new picture until thumbnails are made

enum ThumbnailGroup { kEffectThumbnails, kPresetThumbnails };

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
      m_autosave(m_document, m_folders.autosave), m_feed(m_module), m_thumbnails(module), m_exports(module) {
    setAcceptDrops(true);
    setWindowIcon(programIcon());
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
    connect(&m_document, &Document::titleChanged, this, &MainWindow::showTitle);
    connect(&m_feed, &PreviewFeed::rendered, this, &MainWindow::take);
    connect(&m_feed, &PreviewFeed::failed, this, &MainWindow::showFailure);
    m_late.setSingleShot(true);
    m_late.setInterval(kLate);
    m_late.setObjectName("late");
    m_player.setObjectName("player");
    connect(&m_late, &QTimer::timeout, this, [this] {
        if (!m_feed.isBusy()) return;
        m_busy->show();
        m_status->setText(tr("Reading frame %1…").arg(m_frame));
    });
    connect(&m_sound, &SoundPlayer::silent, this, &MainWindow::tell);
    connect(&m_exports, &ExportQueue::changed, this, &MainWindow::showTitle);
    connect(&m_exports, &ExportQueue::finished, this, [this](const ExportJob& job) {
        if (job.state == ExportJob::State::Done) m_status->setText(tr("%1 is written.").arg(text(job.target())));
        if (!job.sentence.isEmpty()) tell(job.sentence);
    });
    connect(&m_clips, &ClipWatch::changed, this, [this] {
        m_feed.reopen();
        m_source.clear();
        showDocument();
    });
    connect(&m_autosave, &Autosave::failed, this,
            [this](const QString& sentence) { tell(tr("This work is not kept for a crash: %1").arg(sentence)); });
    m_document.setFitter([this](Project& project) { fit(project); });
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
    const QSettings settings;
    if (!restoreGeometry(settings.value("geometry").toByteArray()))
        resize(QSize(1400, 880).boundedTo(screen()->availableSize() - QSize(20, 40)));
    m_arrangement = settings.value("panels").toByteArray();
    started();
    showRecent();
    chooseTheme(chosenTheme());
}

MainWindow::~MainWindow() {
    takeWarnings({});
    m_player.stop();
    // The panels work on the document, and an edit on its way out still says what was typed.
    m_document.disconnect(this);
    m_page->keys().disconnect(this);
    delete m_keys;
    delete takeCentralWidget();
    for (QDockWidget* panel : m_panels) delete panel;
    delete m_exportsPanel;
}

void MainWindow::started() {
    play(false);
    m_before = m_listed = {};
    m_lastFull = 0;
    const bool open = m_document.project() != nullptr;
    m_pages->setCurrentWidget(open ? m_film : m_welcome);
    // Its texts are wide, and would keep a film's settings narrow.
    m_welcome->setSizePolicy(open ? QSizePolicy::Ignored : QSizePolicy::Preferred, QSizePolicy::Preferred);
    showPanels(open);
    for (QAction* action : m_needsProject) action->setEnabled(open);
    m_picture->setPictures({}, {});
    m_scope->setPicture({});
    m_status->clear();
    m_note->clear();
    focusWork();
    m_facts = {};
    m_source.clear();
    m_feed.forget();
    m_late.stop();
    m_busy->hide();
    m_missing->hide();
    m_clips.watch({});
    m_frame = 0;
    m_page->keys().setFacts({});
    m_page->keys().setFrame(0);
    showTitle();
}

void MainWindow::showTitle() {
    QString title = m_document.project() ? m_document.name() + "[*] - Larkmoor" : QStringLiteral("Larkmoor");
    if (const std::optional<int> percent = m_exports.percent()) title = tr("%1 % - %2").arg(*percent).arg(title);
    setWindowTitle(title);
    setWindowModified(m_document.isChanged());
}

void MainWindow::showDocument() {
    const Document::Snapshot project = m_document.project();
    if (!project || m_counting) return;
    showTitle();
    m_clips.watch(clipsOf(*project));
    showMissing();
    attempt([&] {
        // Effects do not change what the pictures are, and asking may wait for a frame.
        if (std::string source = sourceKey(*project); source != m_source && !isMissing()) {
            m_facts = factsOf(*project);
            m_source = std::move(source);
            m_sound.forget();
            m_timeline->setFrameRate(rate());
            m_timeline->setFrameCount(static_cast<int>(std::min<qint64>(m_facts.frames, INT_MAX)));
            m_page->keys().setFacts(m_facts);
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
        m_page->keys().setFrame(m_frame);
        m_picture->setFullSize({facts.width, facts.height});
        if (const auto* const clip = std::get_if<ProjectClip>(&project->source))
            m_page->setSourceFacts(sourceFacts(clip->path, facts));
        if (facts.overlapFrames < facts.wantedOverlap)
            tell(tr("A clip is shorter than the transition, which is cut to %n frame(s).", "",
                    static_cast<int>(facts.overlapFrames)));
        showLimits();
        refresh();
    });
}

void MainWindow::fit(Project& project) {
    settleLevels(project);
    try {
        fitToPictures(project, sourceKey(project) == m_source ? m_facts : factsOf(project));
    } catch (const Error&) {
        // What is wrong with the source is told when it is shown.
    }
}

/// The scopes show the limits of the broadcast effect that is selected, as they are at the playhead.
void MainWindow::showLimits() {
    const ProjectEffect* const effect = m_document.selectedEffect();
    if (!effect || effect->info->className != "DXTBroadcastColors") {
        m_scope->clearLimits();
        const Document::Snapshot project = m_document.project();
        const auto* const made = project ? std::get_if<ProjectGenerator>(&project->source) : nullptr;
        m_scope->setLevels({.studio = made && hasStudioLevels(made->generator.info, made->generator.record)});
        return;
    }
    const auto value = [&, record = m_page->keys().record()](const char* field) {
        return QString::fromStdString(fieldText(effect->info->field(field), record));
    };
    const auto number = [&](const char* field) { return value(field).toDouble(); };
    m_scope->setLevels({.studio = value(levelsField(*effect->info)->name) == "on", .setup = value("setup") == "on"});
    m_scope->setLimits(number("lumaMin"), number("lumaMax"), number("chromaMax"), number("compositeMin"),
                       number("compositeMax"));
}

void MainWindow::setFrame(qint64 frame) {
    frame = std::clamp<qint64>(frame, 0, std::max<qint64>(m_facts.frames - 1, 0));
    if (frame == m_frame) return;
    m_page->keys().setFrame(frame); // which takes in what is typed first, for the frame that is left
    m_frame = frame;
    m_timeline->setFrame(static_cast<int>(frame));
    m_transport->setFrame(frame);
    if (m_scrubbing) m_sound.touch(*m_document.project(), m_facts, m_facts.secondsOf(frame));
    refresh();
}

void MainWindow::refresh() {
    if (!m_document.project() || isMissing()) return;
    if (!m_late.isActive()) m_late.start();
    const bool moving = m_dragging || m_scrubbing || m_player.isActive();
    m_feed.request(m_page->pickButton()->isChecked() ? pickedFrom() : m_document.project(), m_frame,
                   moving && m_lastFull > kSlowFrame);
}

void MainWindow::take(const PreviewResult& result) {
    if (!m_document.project()) return;
    m_late.stop();
    m_busy->hide();
    if (!result.half) m_lastFull = result.milliseconds;
    m_shownHalf = result.half;
    m_picture->setPictures(result.before, result.after, av_q2d(m_facts.aspect));
    m_scope->setPicture(result.after);
    const QString half = result.half ? tr(" at half size") : QString();
    if (m_player.isActive()) {
        m_playing.shown(result.frame, m_playClock.elapsed());
        m_status->setText(tr("%L1 of %L2 frames a second, %3 dropped%4")
                              .arg(m_playing.rate(), 0, 'f', 1)
                              .arg(rate() * std::abs(m_speed), 0, 'f', 1)
                              .arg(m_playing.dropped())
                              .arg(half));
    } else {
        m_status->setText(tr("%L1 ms%2").arg(result.milliseconds, 0, 'f', 1).arg(half));
    }
    showZoom();
    const bool first = !m_before;
    const bool another = result.before.get() != m_before.get();
    m_before = result.before;
    if (first)
        renderThumbnails();
    else if (another)
        m_thumbnailsDue.start();
    emit frameShown(result.frame, result.half, result.milliseconds);
}

/// No picture is better than one of another frame.
void MainWindow::showFailure(const QString& sentence) {
    m_late.stop();
    m_busy->hide();
    m_picture->setPictures({}, {});
    m_scope->setPicture({});
    m_before = {};
    m_status->setText(sentence);
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
    if (m_listed.get() == m_before.get()) return; // another page came, not another picture
    m_listed = m_before;
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
    const auto write = reinterpret_cast<decltype(&KwFormatTime)>(m_module.symbol("KwFormatTime"));
    if (!write) return QString::number(frame);
    char written[128];
    const double time = format == kTimeFrames ? static_cast<double>(frame) / rate : m_facts.secondsOf(frame);
    // Half a unit of 100 ns keeps a frame from falling back to the one before it.
    write(written, sizeof written, &how, static_cast<std::int64_t>(time * 1e7 + 0.5),
          format == kTimeFrames); // frames are whole, all other formats tell them apart by their fraction
    return QString::fromUtf8(written);
}

void MainWindow::playAt(int speed) {
    if (!m_document.project() || m_facts.frames <= 1) speed = 0;
    const bool played = m_player.isActive();
    m_speed = speed;
    if (speed != 0) {
        const FrameRange range = m_timeline->inOut();
        if (speed > 0 && (m_frame < range.from || m_frame >= range.to)) setFrame(range.from);
        if (speed < 0 && (m_frame <= range.from || m_frame > range.to)) setFrame(range.to);
        startClock();
        m_player.start(std::max(1, static_cast<int>(500 / rate()))); // looked at twice a frame
    } else if (played) {
        m_player.stop();
        m_sound.stop();
        refresh();
        m_thumbnailsDue.start(); // there were none while it played
    }
    m_transport->setPlaying(speed != 0);
}

/// The film runs from here on, by its sound where there is any.
void MainWindow::startClock() {
    m_playFrom = m_frame;
    m_playClock.start();
    m_playing.restart();
    m_sound.stop();
    if (m_speed == 1) m_sound.start(*m_document.project(), m_facts, m_facts.secondsOf(m_frame));
}

/// The film's own time.
double MainWindow::playedTo() const {
    if (const std::optional<double> heard = m_sound.position()) return *heard;
    return m_facts.secondsOf(m_playFrom) + static_cast<double>(m_playClock.elapsed()) / 1000 * m_speed;
}

void MainWindow::tick() {
    // What is typed for a field with keys is a value of this frame.
    if (const PageView* const page = m_page->page(); page && page->isTyping() && !m_page->keys().curves().empty())
        return play(false);
    if (m_feed.isBusy()) return; // frames that come too late are left out
    const FrameRange range = m_timeline->inOut();
    qint64 frame = m_facts.frameAt(playedTo(), m_speed < 0);
    if (frame > range.to || frame < range.from) {
        if (!m_loop) {
            setFrame(m_speed > 0 ? range.to : range.from);
            play(false);
            return;
        }
        frame = m_speed > 0 ? range.from : range.to;
        setFrame(frame);
        startClock();
        return;
    }
    setFrame(frame);
}

void MainWindow::addEffect(const QString& className, std::optional<int> place) {
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
        // Behind what is selected; behind a source or a transition is before all effects.
        const Slot selected = m_document.selected();
        const int at = place ? std::clamp(*place, 0, static_cast<int>(project->effects.size()))
                       : selected.kind == Slot::Kind::Effect ? selected.index + 1
                                                             : 0;
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

void MainWindow::fail(const QString& sentence) {
    QMessageBox::warning(this, tr("Larkmoor"), sentence);
}

bool MainWindow::attempt(const std::function<void()>& action) {
    try {
        action();
        return true;
    } catch (const Stopped&) {
        m_status->setText(tr("Given up."));
    } catch (const std::bad_alloc&) {
        fail(tr("Memory is short."));
    } catch (const std::exception& error) {
        fail(text(error.what()));
    }
    return false;
}

void MainWindow::closeEvent(QCloseEvent* event) {
    if (!mayEndExports() || !mayLeave()) {
        event->ignore();
        return;
    }
    QSettings settings;
    settings.setValue("geometry", saveGeometry());
    m_document.close();
    settings.setValue("panels", m_arrangement);
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

} // namespace larkmoor
