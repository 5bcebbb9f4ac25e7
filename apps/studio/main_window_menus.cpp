#include "main_window.h"

#include <algorithm>

#include <QActionGroup>
#include <QApplication>
#include <QKeyEvent>
#include <QLabel>
#include <QMenuBar>
#include <QPushButton>
#include <QVBoxLayout>

#include "effect_clipboard.h"
#include "effect_words.h"
#include "help_box.h"
#include "text.h"
#include "theme.h"

namespace larkmoor {

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

QAction* MainWindow::needs(QAction* action) {
    m_needsProject.push_back(action);
    return action;
}

void MainWindow::addChoices(QMenu* menu, const std::vector<Choice>& rows, int current) {
    auto* const actions = new QActionGroup(this);
    for (int i = 0; const auto& [label, keys, act] : rows) {
        QAction* const action = add(menu, label, keys, act);
        action->setCheckable(true);
        action->setChecked(i++ == current);
        actions->addAction(action);
    }
}

void MainWindow::addSwitch(QMenu* menu, const QString& label, const QKeySequence& keys,
                           const std::function<void(bool)>& act) {
    QAction* const action = menu->addAction(label);
    action->setCheckable(true);
    action->setShortcut(keys);
    connect(action, &QAction::toggled, this, act);
}

void MainWindow::makeMenus() {
    makeFileMenu();
    makeEditMenu();
    makeViewMenu();
    makeFilmMenu();
    makeHelpMenu();
    makeFilmKeys();
}

void MainWindow::makeFileMenu() {
    QMenu* const file = menuBar()->addMenu(tr("&File"));
    add(file, tr("&Open…"), QKeySequence::Open, [this] { askOpen(); });
    add(file, tr("Open &image sequence…"), {}, [this] { askSequence(); });
    m_recent = file->addMenu(tr("Open &recent"));
    add(file, tr("New from a &generator…"), QKeySequence::New, [this] { askGenerator(); });
    add(file, tr("Open the &demonstration clip"), {}, [this] { openDemonstration(); });
    file->addSeparator();
    needs(add(file, tr("Add a second c&lip…"), {}, [this] { askSecond(); }));
    needs(add(file, tr("Re&place the clip…"), {}, [this] { askReplace(); }));
    needs(add(file, tr("So&urce settings…"), {}, [this] { askSource(); }));
    file->addSeparator();
    needs(add(file, tr("&Save project"), QKeySequence::Save, [this] { save(); }));
    needs(add(file, tr("Save project &as…"), QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_S), [this] { saveAs(); }));
    needs(add(file, tr("&Export…"), QKeySequence(Qt::CTRL | Qt::Key_E), [this] { exportFilm(); }));
    needs(add(file, tr("Save this &frame…"), QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_E), [this] { saveFrame(); }));
    file->addSeparator();
    needs(add(file, tr("&Close"), QKeySequence::Close, [this] {
        if (mayLeave()) m_document.close();
    }));
    add(file, tr("&Quit"), QKeySequence::Quit, [this] { close(); });
}

void MainWindow::makeEditMenu() {
    QMenu* const edit = menuBar()->addMenu(tr("&Edit"));
    QAction* const undo = m_document.history().createUndoAction(this, tr("&Undo"));
    QAction* const redo = m_document.history().createRedoAction(this, tr("&Redo"));
    undo->setShortcut(QKeySequence::Undo);
    redo->setShortcuts({QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_Z), QKeySequence(Qt::CTRL | Qt::Key_Y)});
    edit->addActions({undo, redo});
    edit->addSeparator();
    needs(add(edit, tr("Cu&t the effect"), QKeySequence::Cut, [this] {
        copyEffect(m_document);
        m_stack->removeSelected();
    }));
    needs(add(edit, tr("&Copy the effect"), QKeySequence::Copy, [this] { copyEffect(m_document); }));
    needs(add(edit, tr("Cop&y all effects"), QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_C),
              [this] { copyAllEffects(m_document); }));
    needs(add(edit, tr("Pa&ste effects"), QKeySequence::Paste,
              [this] { attempt([this] { pasteEffects(m_document); }); }));
    edit->addSeparator();
    needs(add(edit, tr("&Add an effect"), QKeySequence(Qt::CTRL | Qt::Key_F), [this] { searchEffects(); }));
    needs(add(edit, tr("&Duplicate the effect"), QKeySequence(Qt::CTRL | Qt::Key_D),
              [this] { m_stack->duplicateSelected(); }));
    needs(add(edit, tr("Re&move the effect"), QKeySequence(Qt::CTRL | Qt::Key_Backspace),
              [this] { m_stack->removeSelected(); }));
    needs(add(edit, tr("Move the effect u&p"), QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_Up),
              [this] { m_stack->moveSelected(-1); }));
    needs(add(edit, tr("Move the effect do&wn"), QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_Down),
              [this] { m_stack->moveSelected(1); }));
    edit->addSeparator();
    needs(add(edit, tr("Reset this &field"), QKeySequence(Qt::CTRL | Qt::Key_R),
              [this] { m_page->resetField(QApplication::focusWidget()); }));
    needs(add(edit, tr("Reset a&ll fields"), QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_R),
              [this] { m_page->resetAll(); }));
}

void MainWindow::makeViewMenu() {
    QMenu* const view = menuBar()->addMenu(tr("&View"));
    add(view, tr("&Fit"), QKeySequence(Qt::CTRL | Qt::Key_0), [this] { m_picture->setFit(); });
    add(view, tr("&Actual size"), QKeySequence(Qt::CTRL | Qt::Key_1), [this] { m_picture->setZoom(1); });
    add(view, tr("Zoom &in"), QKeySequence::ZoomIn, [this] { m_picture->zoomIn(); });
    add(view, tr("Zoom &out"), QKeySequence::ZoomOut, [this] { m_picture->zoomOut(); });
    view->addSeparator();
    addChoices(view,
               {{tr("Af&ter"), QKeySequence(Qt::Key_F5), [this] { m_picture->setMode(PictureView::Mode::After); }},
                {tr("&Before"), QKeySequence(Qt::Key_F6), [this] { m_picture->setMode(PictureView::Mode::Before); }},
                {tr("Before and after, &split"), QKeySequence(Qt::Key_F7),
                 [this] { m_picture->setMode(PictureView::Mode::Split); }}},
               0);
    view->addSeparator();
    addSwitch(view, tr("A&lpha"), QKeySequence(Qt::Key_F8), [this](bool on) { m_picture->setAlphaView(on); });
    addSwitch(view, tr("Title-safe f&rames"), QKeySequence(Qt::Key_F9),
              [this](bool on) { m_picture->setSafeFrames(on); });
    QAction* const handles = view->addAction(tr("Han&dles of effects"));
    handles->setCheckable(true);
    handles->setChecked(true);
    connect(handles, &QAction::toggled, m_picture, &PictureView::showHandle);
    makeScopeMenu(view);
    QMenu* const panels = view->addMenu(tr("&Panels"));
    for (QDockWidget* panel : m_panels) panels->addAction(needs(panel->toggleViewAction()));
    panels->addAction(m_exportsPanel->toggleViewAction());
    panels->addSeparator();
    needs(add(panels, tr("&Usual arrangement"), {}, [this] { arrange(); }));
    QMenu* const theme = view->addMenu(tr("T&heme"));
    const QString now = chosenTheme();
    addChoices(theme,
               {{tr("As the &desktop"), {}, [] { chooseTheme("system"); }},
                {tr("&Light"), {}, [] { chooseTheme("light"); }},
                {tr("Dar&k"), {}, [] { chooseTheme("dark"); }}},
               now == "light"  ? 1
               : now == "dark" ? 2
                               : 0);
}

void MainWindow::makeScopeMenu(QMenu* view) {
    QMenu* const scope = view->addMenu(tr("S&cope"));
    using Kind = ScopeView::Kind;
    const auto showScope = [this](Kind kind) {
        return [this, kind] {
            m_panels.back()->show();
            m_panels.back()->raise();
            m_scope->setKind(kind);
        };
    };
    addChoices(scope,
               {{tr("&Histogram"), QKeySequence(Qt::ALT | Qt::Key_1), showScope(Kind::Histogram)},
                {tr("&Waveform"), QKeySequence(Qt::ALT | Qt::Key_2), showScope(Kind::Waveform)},
                {tr("&Composite waveform"), QKeySequence(Qt::ALT | Qt::Key_3), showScope(Kind::Composite)},
                {tr("&Vectorscope"), QKeySequence(Qt::ALT | Qt::Key_4), showScope(Kind::Vectorscope)},
                {tr("&None"), QKeySequence(Qt::ALT | Qt::Key_0), [this] { m_panels.back()->hide(); }}},
               1);
}

void MainWindow::makeFilmMenu() {
    QMenu* const film = menuBar()->addMenu(tr("F&ilm"));
    needs(add(film, tr("&Play or pause"), QKeySequence(Qt::CTRL | Qt::Key_Space),
              [this] { play(!m_player.isActive()); }));
    needs(add(film, tr("&Next frame"), QKeySequence(Qt::ALT | Qt::Key_Right), [this] { setFrame(m_frame + 1); }));
    needs(add(film, tr("Pre&vious frame"), QKeySequence(Qt::ALT | Qt::Key_Left), [this] { setFrame(m_frame - 1); }));
    needs(add(film, tr("&First frame"), QKeySequence(Qt::ALT | Qt::Key_Home),
              [this] { setFrame(m_timeline->inOut().from); }));
    needs(add(film, tr("&Last frame"), QKeySequence(Qt::ALT | Qt::Key_End),
              [this] { setFrame(m_timeline->inOut().to); }));
    film->addSeparator();
    needs(add(film, tr("Set &in point"), QKeySequence(Qt::CTRL | Qt::Key_I),
              [this] { emit m_transport->inRequested(); }));
    needs(add(film, tr("Set &out point"), QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_O),
              [this] { emit m_transport->outRequested(); }));
    film->addSeparator();
    needs(add(film, tr("&Back, faster each time (J)"), {}, [this] { playAt(std::clamp(m_speed * 2, -8, -1)); }));
    needs(add(film, tr("&Stop (K)"), {}, [this] { playAt(0); }));
    needs(add(film, tr("For&wards, faster each time (L)"), {}, [this] { playAt(std::clamp(m_speed * 2, 1, 8)); }));
}

void MainWindow::makeHelpMenu() {
    QMenu* const help = menuBar()->addMenu(tr("&Help"));
    add(help, tr("&Keyboard"), QKeySequence::HelpContents, [this] { showShortcuts(); });
    add(help, tr("&About"), {}, [this] { showAbout(); });
}

void MainWindow::showAbout() {
    const QString used[][2] = {
        {QStringLiteral("Qt ") + qVersion(), QStringLiteral("LGPL 3")},
        {QStringLiteral("FFmpeg ") + av_version_info(), QString::fromLatin1(avcodec_license())},
        {QStringLiteral("oneTBB"), QStringLiteral("Apache 2.0")},
        {QStringLiteral("{fmt}, CLI11, nlohmann/json"), QStringLiteral("MIT, BSD")},
        {QStringLiteral("FreeType, fontconfig, ICU"), QStringLiteral("FreeType, MIT, Unicode")},
        {QStringLiteral("libstdc++, libgcc"), tr("GPL 3 with the exception for what is linked with them")}};
    QString rows;
    for (const auto& [name, licence] : used)
        rows += "<tr><td>" + name.toHtmlEscaped() + "</td><td>&nbsp;&nbsp;" + licence.toHtmlEscaped() + "</td></tr>";
    showHelpBox(
        this, tr("About"),
        tr("<h3>Larkmoor studio %1</h3><p>%2 video effects for stills and clips.</p><p>Larkmoor is under the MIT "
           "license. What it is built with has licenses of its own:</p><table>%3</table><p>Built with an FFmpeg "
           "that has GPL parts, as Debian's, the studio as a whole goes by the GPL, version 3.</p>")
            .arg(LARKMOOR_VERSION)
            .arg(m_module.effects().size())
            .arg(rows));
}

/// Keys that are the film's wherever no text is typed.
void MainWindow::makeFilmKeys() {
    m_keys = new KeyRouter(*this, [this] { return m_page->page(); });
    const auto step = [this](int by) {
        return [this, by] {
            playAt(0);
            setFrame(m_frame + by);
        };
    };
    m_keys->setFilmKeys({{Qt::Key_J, [this] { playAt(std::clamp(m_speed * 2, -8, -1)); }},
                         {Qt::Key_K, [this] { playAt(0); }},
                         {Qt::Key_L, [this] { playAt(std::clamp(m_speed * 2, 1, 8)); }},
                         {Qt::Key_Comma, step(-1)},
                         {Qt::Key_Period, step(1)},
                         {Qt::Key_I, [this] { emit m_transport->inRequested(); }},
                         {Qt::Key_O, [this] { emit m_transport->outRequested(); }}});
}

/// What the widget with the focus has no use for.
void MainWindow::keyPressEvent(QKeyEvent* event) {
    if (!m_document.project() || event->modifiers() != Qt::NoModifier) return QMainWindow::keyPressEvent(event);
    switch (event->key()) {
    case Qt::Key_Space:
        return play(m_speed == 0);
    case Qt::Key_Left:
        return setFrame(m_frame - 1);
    case Qt::Key_Right:
        return setFrame(m_frame + 1);
    case Qt::Key_Home:
        return setFrame(m_timeline->inOut().from);
    case Qt::Key_End:
        return setFrame(m_timeline->inOut().to);
    default:
        QMainWindow::keyPressEvent(event);
    }
}

void MainWindow::fillEffects() {
    std::vector<EffectEntry> entries;
    for (const EffectInfo& info : m_module.effects()) {
        const EffectWords words = effectWords(info);
        entries.push_back({text(info.name),
                           info.kind == EffectKind::Filter       ? tr("Filter")
                           : info.kind == EffectKind::Transition ? tr("Transition")
                                                                 : tr("Generator"),
                           text(info.className), words.group, words.words});
    }
    // Filters first; a bracket ahead of a name does not count.
    const auto order = [filter = tr("Filter")](const EffectEntry& entry) {
        return std::pair(entry.kind != filter, QString(entry.name).remove('('));
    };
    std::ranges::sort(entries, {}, order);
    m_effects->setEntries(entries);
}

void MainWindow::showShortcuts() {
    QString rows;
    for (const QAction* action : findChildren<QAction*>())
        if (!action->shortcut().isEmpty())
            rows += "<tr><td>" + action->text().remove('&').toHtmlEscaped() + "</td><td>&nbsp;&nbsp;" +
                    action->shortcut().toString(QKeySequence::NativeText).toHtmlEscaped() + "</td></tr>";
    rows += tr(
        "<tr><td colspan=2><br>Wherever no text is typed: J, K and L play back, stop and play, faster each time; "
        "comma and full stop step; I and O set the in and out points.<br>"
        "Space plays, arrows step, Home and End jump, where the focus is on nothing that uses them.<br>"
        "In the picture: + and - zoom, [ and ] move the split.<br>"
        "Among the keys below the timeline: Delete removes one, Ctrl+C and Ctrl+V set it at the playhead, Ctrl and the "
        "arrows move it.<br>"
        "On a slider: a double-click on its thumb returns to the default, Escape takes a drag back.</td></tr>");
    showHelpBox(this, tr("Keyboard"), "<table>" + rows + "</table>");
}

} // namespace larkmoor
