// The studio's window.
#pragma once

#include <chrono>

#include <QAction>
#include <QDockWidget>
#include <QElapsedTimer>
#include <QLabel>
#include <QMainWindow>
#include <QProgressBar>
#include <QProgressDialog>
#include <QStackedWidget>
#include <QTimer>

#include "autosave.h"
#include "clip_watch.h"
#include "document.h"
#include "export_queue.h"
#include "key_router.h"
#include "page_panel.h"
#include "playing_rate.h"
#include "preview_feed.h"
#include "sound_player.h"
#include "stack_panel.h"
#include "thumbnails.h"
#include "widgets/effect_list.h"
#include "widgets/key_lanes.h"
#include "widgets/picture_view.h"
#include "widgets/scope_view.h"
#include "widgets/timeline.h"
#include "widgets/transport.h"

class QDragEnterEvent;
class QDropEvent;

namespace larkmoor {

/// Where a studio keeps what is the user's own; empty for the usual places.
struct StudioFolders {
    QString presets, autosave, cache;
};

class MainWindow : public QMainWindow {
    Q_OBJECT

  public:
    explicit MainWindow(Module module, StudioFolders folders = {}, QWidget* parent = nullptr);
    ~MainWindow() override;

    /// A project, a clip, a picture or a numbered sequence, in place of what is open. Failures are shown.
    bool open(const QString& path);
    /// Joins a second clip behind the first.
    void addSecond(const QString& path);
    /// @param at its place among the effects; without one, behind what is selected.
    void addEffect(const QString& className, std::optional<int> at = {});
    void startGenerator(const EffectInfo& info, QSize size, AVRational rate, double seconds);
    bool saveTo(const QString& path);
    /// A note to the user that asks nothing.
    void tell(const QString& sentence) { m_note->setText(sentence); }
    /// Reading a clip is shown from then on, without any patience always.
    void setPatience(std::chrono::milliseconds patience) { m_patience = patience; }
    /// Offers what other studios left behind.
    void offerLostWork();

    Document& document() { return m_document; }
    PagePanel& pagePanel() { return *m_page; }
    PictureView& picture() { return *m_picture; }
    Timeline& timeline() { return *m_timeline; }
    KeyLanes& lanes() { return *m_lanes; }
    Transport& transport() { return *m_transport; }
    EffectList& effectList() { return *m_effects; }
    ExportQueue& exports() { return m_exports; }
    ScopeView& scope() { return *m_scope; }
    StackPanel& stack() { return *m_stack; }
    qint64 frame() const { return m_frame; }
    void setFrame(qint64 frame);
    void play(bool on) { playAt(on ? 1 : 0); }
    /// At a multiple of the clip's rate; 0 stops, and less than 0 runs backwards.
    void playAt(int speed);
    int speed() const { return m_speed; }
    /// False from a request until its picture is shown.
    bool isIdle() const { return !m_feed.isBusy(); }

  signals:
    /// A picture reached the screen's widgets.
    void frameShown(qint64 frame, bool half, double milliseconds);

  protected:
    void closeEvent(QCloseEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

  private:
    void makeWidgets();
    void makeStatusBar();
    void makePanels();
    QDockWidget* addPanel(const QString& name, const QString& title, QWidget* content);
    void arrange();
    void showPanels(bool shown);
    void connectPage();
    void connectFilm();
    void connectPicture();
    void connectHandles();
    void pick(const QColor& color);
    Document::Snapshot pickedFrom() const;
    void showHelp();
    QString beforeAndAfter(const EffectInfo& info) const;
    void showAbout();
    void cut(qint64 in, qint64 out, bool final);

    void makeMenus();
    void makeFileMenu();
    void makeEditMenu();
    void makeViewMenu();
    void makeScopeMenu(QMenu* view);
    void makeFilmMenu();
    void makeHelpMenu();
    void makeFilmKeys();
    using Choice = std::tuple<QString, QKeySequence, std::function<void()>>;
    QAction* add(QMenu* menu, const QString& text, const QKeySequence& keys, const std::function<void()>& act);
    QAction* needs(QAction* action);
    void addChoices(QMenu* menu, const std::vector<Choice>& rows, int current);
    void addSwitch(QMenu* menu, const QString& text, const QKeySequence& keys, const std::function<void(bool)>& act);
    void makeWelcome();

    void started();
    void showDocument();
    void showTitle();
    void focusWork();
    void showLimits();
    PictureFacts factsOf(const Project& project);
    void fit(Project& project);
    bool mend(Project& project);
    void showZoom();
    void refresh();
    void take(const PreviewResult& result);
    void showFailure(const QString& sentence);
    double rate() const { return av_q2d(m_facts.rate); }
    void tick();
    void startClock();
    double playedTo() const;
    void fillEffects();
    void renderThumbnails();
    QString timeText(qint64 frame, int format) const;

    bool mayLeave();
    bool mayEndExports();
    QWidget* makeMissing();
    void showMissing();
    void findMissing();
    bool isMissing() const { return !m_missing->isHidden(); }
    bool findClips(Project& project, bool& changed);
    bool findClip(std::string& path);
    bool save();
    bool saveAs();
    void searchEffects();
    void askOpen();
    void askSequence();
    void askSecond();
    void askReplace();
    void askGenerator();
    void askSource();
    void openDemonstration();
    void exportFilm();
    void saveFrame();
    void showShortcuts();
    void remember(const QString& path);
    void showRecent();
    void fail(const QString& sentence);
    bool attempt(const std::function<void()>& action);

    Module m_module;
    StudioFolders m_folders;
    Document m_document;
    Autosave m_autosave;
    PreviewFeed m_feed;
    Thumbnails m_thumbnails;
    ClipWatch m_clips;
    ExportQueue m_exports;

    QStackedWidget* m_pages;
    QWidget* m_welcome;
    QWidget* m_film;
    QDockWidget* m_exportsPanel;
    std::vector<QDockWidget*> m_panels; ///< stack, effects, settings, presets, scope
    QByteArray m_arrangement;           ///< of the panels while none is shown
    KeyRouter* m_keys;
    PictureView* m_picture;
    Transport* m_transport;
    Timeline* m_timeline;
    KeyLanes* m_lanes;
    StackPanel* m_stack;
    EffectList* m_effects;
    PagePanel* m_page;
    ScopeView* m_scope;
    QLabel *m_status, *m_note, *m_pixel, *m_zoom;
    QProgressBar* m_busy;
    QWidget* m_missing; ///< says which clip is not there
    QLabel* m_missingText;
    QMenu* m_recent;
    std::vector<QAction*> m_needsProject;

    PictureFacts m_facts;
    std::string m_source; ///< what `m_facts` were told of
    std::chrono::milliseconds m_patience{300};
    bool m_counting = false; ///< frames of a clip, while nothing else is done
    qint64 m_frame = 0;
    Surface m_before;
    Surface m_listed; ///< the picture that the list of effects was tried on
    bool m_dragging = false, m_scrubbing = false, m_loop = true;
    double m_lastFull = 0; ///< milliseconds of the last frame at full size
    bool m_shownHalf = false;
    QTimer m_settle, m_player{this}, m_thumbnailsDue;
    QTimer m_late{this}; ///< of a picture that lets wait
    QElapsedTimer m_playClock;
    qint64 m_playFrom = 0;
    int m_speed = 0;
    SoundPlayer m_sound;
    PlayingRate m_playing;             ///< of the frames that were shown
    std::unique_ptr<Exporter> m_maker; ///< of the demonstration clip
};

} // namespace larkmoor
