<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de" sourcelanguage="en">
<context>
    <name>larkmoor::Autosave</name>
    <message>
        <source>cannot write %1: %2</source>
        <translation>%1 lässt sich nicht schreiben: %2</translation>
    </message>
</context>
<context>
    <name>larkmoor::ColorWidget</name>
    <message>
        <source>Change the color space</source>
        <translation>Farbraum wechseln</translation>
    </message>
    <message>
        <source>Pick a color from the screen</source>
        <translation>Farbe vom Bildschirm aufnehmen</translation>
    </message>
    <message>
        <source>Correct the color</source>
        <translation>Farbe korrigieren</translation>
    </message>
    <message>
        <source>hue</source>
        <translation>Farbton</translation>
    </message>
    <message>
        <source>saturation</source>
        <translation>Sättigung</translation>
    </message>
    <message>
        <source>lightness</source>
        <translation>Helligkeit</translation>
    </message>
    <message>
        <source>alpha</source>
        <translation>Alpha</translation>
    </message>
    <message>
        <source>red</source>
        <translation>Rot</translation>
    </message>
    <message>
        <source>green</source>
        <translation>Grün</translation>
    </message>
    <message>
        <source>blue</source>
        <translation>Blau</translation>
    </message>
</context>
<context>
    <name>larkmoor::CurveView</name>
    <message>
        <source>Curve</source>
        <translation>Kurve</translation>
    </message>
</context>
<context>
    <name>larkmoor::Document</name>
    <message>
        <source>Untitled</source>
        <translation>Unbenannt</translation>
    </message>
    <message>
        <source>Paste</source>
        <translation>Einfügen</translation>
    </message>
    <message>
        <source>%1 joins two clips; add a second clip first.</source>
        <translation>%1 verbindet zwei Clips; fügen Sie zuerst einen zweiten Clip hinzu.</translation>
    </message>
</context>
<context>
    <name>larkmoor::EffectList</name>
    <message>
        <source>No effect has these words in its name or kind.</source>
        <translation>Kein Effekt heißt so oder ist von dieser Art.</translation>
    </message>
    <message>
        <source>&amp;Add</source>
        <translation>Hin&amp;zufügen</translation>
    </message>
    <message>
        <source>Search effects</source>
        <translation>Effekte suchen</translation>
    </message>
    <message>
        <source>Group of effects</source>
        <translation>Effektgruppe</translation>
    </message>
    <message>
        <source>Effects</source>
        <translation>Effekte</translation>
    </message>
    <message>
        <source>Adds the effect to the stack (Enter)</source>
        <translation>Fügt den Effekt zum Stapel hinzu (Eingabetaste)</translation>
    </message>
    <message>
        <source>%1 (%2)</source>
        <translation>%1 (%2)</translation>
    </message>
    <message>
        <source>All effects</source>
        <translation>Alle Effekte</translation>
    </message>
    <message>
        <source>Favorites</source>
        <translation>Favoriten</translation>
    </message>
    <message>
        <source>Remove from the &amp;favorites</source>
        <translation>Aus den &amp;Favoriten entfernen</translation>
    </message>
    <message>
        <source>Add to the &amp;favorites</source>
        <translation>Zu den &amp;Favoriten hinzufügen</translation>
    </message>
</context>
<context>
    <name>larkmoor::EffectWords</name>
    <message>
        <source>Color</source>
        <translation>Farbe</translation>
    </message>
    <message>
        <source>Blur and sharpen</source>
        <translation>Weich- und Scharfzeichnen</translation>
    </message>
    <message>
        <source>Key and mask</source>
        <translation>Keying und Masken</translation>
    </message>
    <message>
        <source>Style</source>
        <translation>Stilisieren</translation>
    </message>
    <message>
        <source>Broadcast</source>
        <translation>Sendenormen</translation>
    </message>
    <message>
        <source>Titles and patterns</source>
        <translation>Titel und Testbilder</translation>
    </message>
    <message>
        <source>Transitions</source>
        <translation>Übergänge</translation>
    </message>
    <message>
        <source>light dark exposure</source>
        <translation>Helligkeit Kontrast hell dunkel Belichtung</translation>
    </message>
    <message>
        <source>Makes the picture brighter or darker, and its differences greater or smaller.</source>
        <translation>Macht das Bild heller oder dunkler und seinen Kontrast größer oder kleiner.</translation>
    </message>
    <message>
        <source>grayscale greyscale black white gray grey saturation</source>
        <translation>Entsättigen Sättigung Graustufen schwarzweiß schwarz weiß grau</translation>
    </message>
    <message>
        <source>Takes the colors away, wholly or in part.</source>
        <translation>Nimmt dem Bild die Farbe, ganz oder teilweise.</translation>
    </message>
    <message>
        <source>hue saturation</source>
        <translation>Farbton Sättigung Helligkeit</translation>
    </message>
    <message>
        <source>Shifts the hue, and changes how strong and how light the colors are.</source>
        <translation>Verschiebt den Farbton und ändert, wie kräftig und wie hell die Farben sind.</translation>
    </message>
    <message>
        <source>negative</source>
        <translation>Negativ Umkehren</translation>
    </message>
    <message>
        <source>Shows the negative.</source>
        <translation>Zeigt das Negativ.</translation>
    </message>
    <message>
        <source>gamma</source>
        <translation>Gamma Tonwerte Gradation</translation>
    </message>
    <message>
        <source>Sets black, white and the middle tones of what comes in and of what goes out.</source>
        <translation>Setzt Schwarz, Weiß und die Mitteltöne, am Eingang wie am Ausgang.</translation>
    </message>
    <message>
        <source>tint</source>
        <translation>Tonung Tönung Einfärben</translation>
    </message>
    <message>
        <source>Tints the picture with one color, as old photographs have it.</source>
        <translation>Tönt das Bild in einer Farbe, wie bei alten Fotografien.</translation>
    </message>
    <message>
        <source>black white posterize</source>
        <translation>Schwellenwert Schwelle schwarz weiß</translation>
    </message>
    <message>
        <source>Makes each color channel nothing below a level, and all from there on.</source>
        <translation>Setzt jeden Farbkanal unterhalb einer Schwelle auf null und darüber auf den vollen Wert.</translation>
    </message>
    <message>
        <source>crush blacks</source>
        <translation>Schwarzwert Schwarz wiederherstellen</translation>
    </message>
    <message>
        <source>Makes what is nearly black altogether black.</source>
        <translation>Macht, was beinahe schwarz ist, ganz schwarz.</translation>
    </message>
    <message>
        <source>soften defocus</source>
        <translation>Unschärfe Weichzeichnen Weichzeichner unscharf</translation>
    </message>
    <message>
        <source>Softens the picture a little, fast.</source>
        <translation>Zeichnet das Bild leicht und schnell weich.</translation>
    </message>
    <message>
        <source>Softens the picture as a lens out of focus does, as far as it is wanted, each channel by itself.</source>
        <translation>Zeichnet das Bild beliebig stark weich, wie ein unscharf gestelltes Objektiv; jeden Kanal für sich.</translation>
    </message>
    <message>
        <source>unsharp</source>
        <translation>Schärfen Scharfzeichnen Schärfe</translation>
    </message>
    <message>
        <source>Makes edges clearer.</source>
        <translation>Macht Kanten deutlicher.</translation>
    </message>
    <message>
        <source>denoise</source>
        <translation>Entrauschen Rauschen entfernen Rauschminderung</translation>
    </message>
    <message>
        <source>Puts in each place the middle value of those around it: specks go, edges stay.</source>
        <translation>Setzt an jede Stelle den mittleren Wert ihrer Umgebung: Störpunkte verschwinden, Kanten bleiben.</translation>
    </message>
    <message>
        <source>greenscreen green screen bluescreen blue screen chromakey keying</source>
        <translation>Greenscreen Bluescreen Stanzen Freistellen Farbstanze</translation>
    </message>
    <message>
        <source>Makes what has the key color transparent, as a screen behind an actor.</source>
        <translation>Macht durchsichtig, was die Key-Farbe hat, etwa die Leinwand hinter einem Darsteller.</translation>
    </message>
    <message>
        <source>luma key</source>
        <translation>Maske Luminanz Luma-Key</translation>
    </message>
    <message>
        <source>Shows the luminance or one channel of the picture in gray, between the levels that are wanted: a mask.</source>
        <translation>Zeigt die Luminanz oder einen Kanal des Bildes in Grau, zwischen den gewünschten Pegeln: eine Maske.</translation>
    </message>
    <message>
        <source>crop vignette shape</source>
        <translation>Beschneiden Zuschneiden Vignette Form Ausstechen</translation>
    </message>
    <message>
        <source>Cuts the picture out along a shape, or a grid of them.</source>
        <translation>Schneidet das Bild entlang einer Form aus oder entlang eines Rasters von Formen.</translation>
    </message>
    <message>
        <source>erode dilate</source>
        <translation>Verkleinern Vergrößern Ausdehnen</translation>
    </message>
    <message>
        <source>Lets the lightest or the darkest of the neighbors spread.</source>
        <translation>Lässt die hellsten oder die dunkelsten Nachbarpunkte sich ausbreiten.</translation>
    </message>
    <message>
        <source>grain</source>
        <translation>Rauschen Korn Filmkorn</translation>
    </message>
    <message>
        <source>Adds noise, still or moving.</source>
        <translation>Fügt Rauschen hinzu, stehend oder bewegt.</translation>
    </message>
    <message>
        <source>mosaic censor</source>
        <translation>Mosaik Verpixeln Unkenntlich machen</translation>
    </message>
    <message>
        <source>Shows the picture in blocks of one color each.</source>
        <translation>Zeigt das Bild in einfarbigen Blöcken.</translation>
    </message>
    <message>
        <source>ripple distort</source>
        <translation>Welle Wellen Verzerren Verzerrung</translation>
    </message>
    <message>
        <source>Bends the picture in waves, across and down.</source>
        <translation>Biegt das Bild in Wellen, waagerecht und senkrecht.</translation>
    </message>
    <message>
        <source>legalize legalise legal safe limiter gamut ire</source>
        <translation>Sendetauglich Sendenorm Begrenzen Pegel legal</translation>
    </message>
    <message>
        <source>Keeps luma, chroma and the composite signal within what broadcasters accept.</source>
        <translation>Hält Luma, Chroma und das Composite-Signal in den Grenzen, die Sender annehmen.</translation>
    </message>
    <message>
        <source>legalize legalise legal safe limiter gamut</source>
        <translation>Sendetauglich Sendenorm Begrenzen Farbumfang</translation>
    </message>
    <message>
        <source>Keeps the picture within broadcast limits as older projects did; for new ones take Broadcast Colors.</source>
        <translation>Hält das Bild in den Grenzen der Sendenormen, wie es ältere Projekte taten; für neue nehmen Sie Broadcast Colors.</translation>
    </message>
    <message>
        <source>burn in counter</source>
        <translation>Einblenden Zähler Zeitcode</translation>
    </message>
    <message>
        <source>Writes the time of the frame into the picture.</source>
        <translation>Schreibt den Timecode ins Bild.</translation>
    </message>
    <message>
        <source>title caption credits</source>
        <translation>Titel Untertitel Abspann Bauchbinde Schrift</translation>
    </message>
    <message>
        <source>Writes text: titles, captions, credits.</source>
        <translation>Schreibt Text: Titel, Bauchbinden, Abspänne.</translation>
    </message>
    <message>
        <source>color bars colour bars smpte</source>
        <translation>Farbbalken Testbild</translation>
    </message>
    <message>
        <source>Makes test pictures: bars, ramps, grids and plain colors.</source>
        <translation>Erzeugt Testbilder: Balken, Verläufe, Gitter und einfarbige Flächen.</translation>
    </message>
    <message>
        <source>crossfade cross fade mix</source>
        <translation>Überblendung Überblenden Blende</translation>
    </message>
    <message>
        <source>Lets one clip pass into the next, in one of ten ways.</source>
        <translation>Blendet einen Clip in den nächsten über, auf eine von zehn Arten.</translation>
    </message>
    <message>
        <source>Lets one clip fade out while the next fades in.</source>
        <translation>Blendet einen Clip aus, während der nächste eingeblendet wird.</translation>
    </message>
    <message>
        <source>radial wipe</source>
        <translation>Uhr Uhrzeiger Radialblende</translation>
    </message>
    <message>
        <source>A hand turns about the middle and uncovers the next clip.</source>
        <translation>Ein Zeiger dreht sich um die Mitte und deckt den nächsten Clip auf.</translation>
    </message>
    <message>
        <source>circle wipe</source>
        <translation>Irisblende Kreis</translation>
    </message>
    <message>
        <source>A shape, or a grid of them, opens or closes over the next clip.</source>
        <translation>Eine Form oder ein Raster von Formen öffnet oder schließt sich über dem nächsten Clip.</translation>
    </message>
    <message>
        <source>slide</source>
        <translation>Schieben Verschieben</translation>
    </message>
    <message>
        <source>The next clip pushes the one before it out, or moves over it.</source>
        <translation>Der nächste Clip schiebt den vorigen hinaus oder legt sich über ihn.</translation>
    </message>
    <message>
        <source>stretch</source>
        <translation>Stauchen Quetschen Dehnen</translation>
    </message>
    <message>
        <source>The next clip grows while the one before it is squeezed away.</source>
        <translation>Der nächste Clip wächst, während der vorige zusammengedrückt wird.</translation>
    </message>
    <message>
        <source>wipe</source>
        <translation>Wischen Wischblende Schiebeblende</translation>
    </message>
    <message>
        <source>An edge runs over the picture in any direction.</source>
        <translation>Eine Kante läuft in beliebiger Richtung über das Bild.</translation>
    </message>
    <message>
        <source>door gate</source>
        <translation>Tür Tor Flügeltür</translation>
    </message>
    <message>
        <source>Two doors close or open between the clips.</source>
        <translation>Zwei Türen schließen oder öffnen sich zwischen den Clips.</translation>
    </message>
    <message>
        <source>grow shrink</source>
        <translation>Wachsen Schrumpfen Skalieren</translation>
    </message>
    <message>
        <source>The next clip grows from a point, or the one before it shrinks to it.</source>
        <translation>Der nächste Clip wächst aus einem Punkt, oder der vorige schrumpft zu ihm.</translation>
    </message>
</context>
<context>
    <name>larkmoor::ExportDialog</name>
    <message>
        <source>As the file&apos;s ending tells</source>
        <translation>Nach der Dateiendung</translation>
    </message>
    <message>
        <source>H.264 for the web</source>
        <translation>H.264 fürs Web</translation>
    </message>
    <message>
        <source>ProRes 422</source>
        <translation>ProRes 422</translation>
    </message>
    <message>
        <source>ProRes 4444 with alpha</source>
        <translation>ProRes 4444 mit Alpha</translation>
    </message>
    <message>
        <source>DNxHR</source>
        <translation>DNxHR</translation>
    </message>
    <message>
        <source>FFV1, without loss</source>
        <translation>FFV1, verlustfrei</translation>
    </message>
    <message>
        <source>PNG sequence</source>
        <translation>PNG-Sequenz</translation>
    </message>
    <message>
        <source>WebM with alpha</source>
        <translation>WebM mit Alpha</translation>
    </message>
    <message numerus="yes">
        <source>%n bit(s)</source>
        <translation>
            <numerusform>%n Bit</numerusform>
            <numerusform>%n Bit</numerusform>
        </translation>
    </message>
    <message>
        <source>alpha</source>
        <translation>Alpha</translation>
    </message>
    <message>
        <source>without loss</source>
        <translation>verlustfrei</translation>
    </message>
    <message>
        <source>each picture by itself</source>
        <translation>jedes Bild für sich</translation>
    </message>
    <message>
        <source>&amp;Quality:</source>
        <translation>&amp;Qualität:</translation>
    </message>
    <message>
        <source>&amp;Export</source>
        <translation>Expor&amp;tieren</translation>
    </message>
    <message>
        <source>Export</source>
        <translation>Exportieren</translation>
    </message>
    <message>
        <source>&amp;Browse…</source>
        <translation>D&amp;urchsuchen…</translation>
    </message>
    <message>
        <source>the file&apos;s usual one</source>
        <translation>der für die Datei übliche</translation>
    </message>
    <message>
        <source>An encoder of those that such a file takes, or FFmpeg&apos;s name of another</source>
        <translation>Ein Encoder, den eine solche Datei zulässt, oder der FFmpeg-Name eines anderen</translation>
    </message>
    <message>
        <source>the source&apos;s, or the nearest</source>
        <translation>das der Quelle oder das nächstliegende</translation>
    </message>
    <message>
        <source>By FFmpeg&apos;s name; transparency needs one with an &quot;a&quot;, such as rgba</source>
        <translation>Mit dem Namen, den FFmpeg ihm gibt; Transparenz braucht eines mit „a“, etwa rgba</translation>
    </message>
    <message>
        <source>0 gives the smallest files, 100 the best pictures</source>
        <translation>0 ergibt die kleinsten Dateien, 100 die besten Bilder</translation>
    </message>
    <message>
        <source>P&amp;rofile:</source>
        <translation>&amp;Profil:</translation>
    </message>
    <message>
        <source>&amp;File:</source>
        <translation>&amp;Datei:</translation>
    </message>
    <message>
        <source>En&amp;coder:</source>
        <translation>&amp;Encoder:</translation>
    </message>
    <message>
        <source>&amp;Pixel format:</source>
        <translation>Pi&amp;xelformat:</translation>
    </message>
    <message>
        <source>Export to</source>
        <translation>Exportieren nach</translation>
    </message>
    <message>
        <source>Films (*.mp4 *.mov *.mkv *.webm);;Pictures (*.png *.tif *.jpg);;All files (*)</source>
        <translation>Filme (*.mp4 *.mov *.mkv *.webm);;Bilder (*.png *.tif *.jpg);;Alle Dateien (*)</translation>
    </message>
    <message>
        <source>Name a file to export to.</source>
        <translation>Nennen Sie eine Datei, in die exportiert werden soll.</translation>
    </message>
    <message>
        <source>The project is made of this file; choose another name.</source>
        <translation>Aus dieser Datei besteht das Projekt; wählen Sie einen anderen Namen.</translation>
    </message>
    <message>
        <source>%1 is there already. Replace it?</source>
        <translation>%1 ist schon vorhanden. Ersetzen?</translation>
    </message>
    <message>
        <source>For &amp;many machines, frames at a time:</source>
        <translation>Für &amp;mehrere Rechner, Bilder je Teil:</translation>
    </message>
    <message>
        <source>Writes a folder that &quot;larkmoor work&quot; renders on all machines that see it</source>
        <translation>Schreibt einen Ordner, den „larkmoor work“ auf allen Rechnern berechnet, die ihn sehen</translation>
    </message>
    <message>
        <source>Frames at a time</source>
        <translation>Bilder je Teil</translation>
    </message>
    <message>
        <source>Writes the folder %1; its chunks are joined to the film when all are done.</source>
        <translation>Schreibt den Ordner %1; seine Teile werden zum Film verbunden, wenn alle fertig sind.</translation>
    </message>
    <message>
        <source>Pixel format</source>
        <translation>Pixelformat</translation>
    </message>
    <message>
        <source>Quality</source>
        <translation>Qualität</translation>
    </message>
    <message>
        <source>Encoder</source>
        <translation>Encoder</translation>
    </message>
    <message>
        <source>C&amp;lose</source>
        <translation>&amp;Schließen</translation>
    </message>
</context>
<context>
    <name>larkmoor::ExportPanel</name>
    <message>
        <source>waits</source>
        <translation>wartet</translation>
    </message>
    <message numerus="yes">
        <source>%1 %, %2 of %n frame(s)  %3</source>
        <translation>
            <numerusform>%1 %, %2 von %n Bild  %3</numerusform>
            <numerusform>%1 %, %2 von %n Bildern  %3</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n frame(s)</source>
        <translation>
            <numerusform>%n Bild</numerusform>
            <numerusform>%n Bilder</numerusform>
        </translation>
    </message>
    <message>
        <source>is written.</source>
        <translation>ist geschrieben.</translation>
    </message>
    <message>
        <source>Cancelled; nothing was written.</source>
        <translation>Abgebrochen; es wurde nichts geschrieben.</translation>
    </message>
    <message>
        <source>Cancel this export</source>
        <translation>Diesen Export abbrechen</translation>
    </message>
    <message>
        <source>Clear those that are over</source>
        <translation>Beendete entfernen</translation>
    </message>
    <message>
        <source>File</source>
        <translation>Datei</translation>
    </message>
    <message>
        <source>State</source>
        <translation>Zustand</translation>
    </message>
    <message>
        <source>Exports</source>
        <translation>Exporte</translation>
    </message>
    <message>
        <source>All chunks are done and can be joined.</source>
        <translation>Alle Teile sind fertig und können verbunden werden.</translation>
    </message>
    <message numerus="yes">
        <source>%1 of %n chunk(s) are done, %2 running, %3 failed</source>
        <translation>
            <numerusform>%1 von %n Teil ist fertig, %2 in Arbeit, %3 gescheitert</numerusform>
            <numerusform>%1 von %n Teilen sind fertig, %2 in Arbeit, %3 gescheitert</numerusform>
        </translation>
    </message>
    <message>
        <source>Chunk %1 failed on %2: %3</source>
        <translation>Teil %1 scheiterte auf %2: %3</translation>
    </message>
    <message>
        <source>Join the chunks…</source>
        <translation>Teile verbinden…</translation>
    </message>
    <message>
        <source>Show a job…</source>
        <translation>Auftrag zeigen…</translation>
    </message>
    <message>
        <source>Folder of a job</source>
        <translation>Ordner eines Auftrags</translation>
    </message>
    <message>
        <source>Join the chunks</source>
        <translation>Teile verbinden</translation>
    </message>
</context>
<context>
    <name>larkmoor::ExportQueue</name>
    <message>
        <source>%1:%2 left</source>
        <translation>noch %1:%2</translation>
    </message>
    <message>
        <source>%1 is being exported already; choose another name.</source>
        <translation>%1 wird schon exportiert; wählen Sie einen anderen Namen.</translation>
    </message>
</context>
<context>
    <name>larkmoor::GeneratorDialog</name>
    <message>
        <source>New from a generator</source>
        <translation>Neu aus Generator</translation>
    </message>
    <message>
        <source> s</source>
        <translation> s</translation>
    </message>
    <message>
        <source>&amp;Generator:</source>
        <translation>&amp;Generator:</translation>
    </message>
    <message>
        <source>&amp;Size:</source>
        <translation>G&amp;röße:</translation>
    </message>
    <message>
        <source>&amp;Frames a second:</source>
        <translation>&amp;Bilder pro Sekunde:</translation>
    </message>
    <message>
        <source>&amp;Duration:</source>
        <translation>&amp;Dauer:</translation>
    </message>
    <message>
        <source>Source</source>
        <translation>Quelle</translation>
    </message>
</context>
<context>
    <name>larkmoor::KeyEditor</name>
    <message>
        <source>Remove a key of %1</source>
        <translation>Keyframe von %1 entfernen</translation>
    </message>
    <message>
        <source>Add a key of %1</source>
        <translation>Keyframe von %1 hinzufügen</translation>
    </message>
    <message>
        <source>Move a key of %1</source>
        <translation>Keyframe von %1 verschieben</translation>
    </message>
    <message>
        <source>Copy a key of %1</source>
        <translation>Keyframe von %1 kopieren</translation>
    </message>
    <message>
        <source>Change the way from a key of %1</source>
        <translation>Verlauf nach einem Keyframe von %1 ändern</translation>
    </message>
    <message>
        <source>Change a key of %1</source>
        <translation>Keyframe von %1 ändern</translation>
    </message>
    <message>
        <source>Set where the effect works</source>
        <translation>Wirkungsbereich des Effekts setzen</translation>
    </message>
</context>
<context>
    <name>larkmoor::KeyLanes</name>
    <message>
        <source>Keys</source>
        <translation>Keyframes</translation>
    </message>
</context>
<context>
    <name>larkmoor::KeyList</name>
    <message>
        <source>From here</source>
        <translation>Ab hier</translation>
    </message>
    <message>
        <source>The effect works from this frame on</source>
        <translation>Der Effekt wirkt ab diesem Bild</translation>
    </message>
    <message>
        <source>Up to here</source>
        <translation>Bis hier</translation>
    </message>
    <message>
        <source>The effect works up to this frame</source>
        <translation>Der Effekt wirkt bis zu diesem Bild</translation>
    </message>
    <message>
        <source>All along</source>
        <translation>Überall</translation>
    </message>
    <message>
        <source>The effect works at all frames</source>
        <translation>Der Effekt wirkt auf alle Bilder</translation>
    </message>
    <message>
        <source>%1: the key before</source>
        <translation>%1: voriger Keyframe</translation>
    </message>
    <message>
        <source>%1: a key here</source>
        <translation>%1: Keyframe an dieser Stelle</translation>
    </message>
    <message>
        <source>%1: the next key</source>
        <translation>%1: nächster Keyframe</translation>
    </message>
    <message>
        <source>&amp;Hold up to the next key</source>
        <translation>Bis zum nächsten Keyframe &amp;halten</translation>
    </message>
    <message>
        <source>&amp;Linear to the next key</source>
        <translation>&amp;Linear zum nächsten Keyframe</translation>
    </message>
    <message>
        <source>&amp;Smooth to the next key</source>
        <translation>&amp;Weich zum nächsten Keyframe</translation>
    </message>
</context>
<context>
    <name>larkmoor::KeyStrip</name>
    <message>
        <source>no keys</source>
        <translation>keine Keyframes</translation>
    </message>
    <message>
        <source>%1: key at frame %2</source>
        <translation>%1: Keyframe bei Bild %2</translation>
    </message>
</context>
<context>
    <name>larkmoor::LiveEffect</name>
    <message>
        <source>The settings page of %1 cannot be opened.</source>
        <translation>Die Einstellungsseite von %1 lässt sich nicht öffnen.</translation>
    </message>
</context>
<context>
    <name>larkmoor::MainWindow</name>
    <message>
        <source>Reading frame %1…</source>
        <translation>Bild %1 wird gelesen…</translation>
    </message>
    <message>
        <source>%1 is written.</source>
        <translation>%1 ist geschrieben.</translation>
    </message>
    <message>
        <source>This work is not kept for a crash: %1</source>
        <translation>Diese Arbeit wird für den Fall eines Absturzes nicht gesichert: %1</translation>
    </message>
    <message>
        <source>%1 % - %2</source>
        <translation>%1 % – %2</translation>
    </message>
    <message numerus="yes">
        <source>A clip is shorter than the transition, which is cut to %n frame(s).</source>
        <translation>
            <numerusform>Ein Clip ist kürzer als der Übergang, der auf %n Bild gekürzt ist.</numerusform>
            <numerusform>Ein Clip ist kürzer als der Übergang, der auf %n Bilder gekürzt ist.</numerusform>
        </translation>
    </message>
    <message>
        <source> at half size</source>
        <translation> in halber Größe</translation>
    </message>
    <message>
        <source>%L1 of %L2 frames a second, %3 dropped%4</source>
        <translation>%L1 von %L2 Bildern pro Sekunde, %3 ausgelassen%4</translation>
    </message>
    <message>
        <source>%L1 ms%2</source>
        <translation>%L1 ms%2</translation>
    </message>
    <message>
        <source>%1 %</source>
        <translation>%1 %</translation>
    </message>
    <message>
        <source>Fit, %1</source>
        <translation>Eingepasst, %1</translation>
    </message>
    <message>
        <source>Choose %1</source>
        <translation>%1 wählen</translation>
    </message>
    <message>
        <source>Add %1</source>
        <translation>%1 hinzufügen</translation>
    </message>
    <message>
        <source>Larkmoor</source>
        <translation>Larkmoor</translation>
    </message>
    <message>
        <source>Memory is short.</source>
        <translation>Der Speicher reicht nicht.</translation>
    </message>
    <message>
        <source>Fin&amp;d it…</source>
        <translation>&amp;Suchen…</translation>
    </message>
    <message>
        <source>The clip %1 is not there any more.</source>
        <translation>Der Clip %1 ist nicht mehr vorhanden.</translation>
    </message>
    <message>
        <source>Find the clip</source>
        <translation>Clip suchen</translation>
    </message>
    <message>
        <source>The clip %1 is not there any more. Where is it now?</source>
        <translation>Der Clip %1 ist nicht mehr vorhanden. Wo ist er jetzt?</translation>
    </message>
    <message>
        <source>&amp;Find it…</source>
        <translation>&amp;Suchen…</translation>
    </message>
    <message>
        <source>A second clip comes after a first one; open a clip first.</source>
        <translation>Ein zweiter Clip folgt auf einen ersten; öffnen Sie zuerst einen Clip.</translation>
    </message>
    <message>
        <source>Add a second clip</source>
        <translation>Zweiten Clip hinzufügen</translation>
    </message>
    <message>
        <source>Open</source>
        <translation>Öffnen</translation>
    </message>
    <message>
        <source>Open the first picture of a sequence</source>
        <translation>Erstes Bild einer Sequenz öffnen</translation>
    </message>
    <message>
        <source>Pictures (*.png *.jpg *.jpeg *.tif *.tiff *.bmp *.exr *.dpx)</source>
        <translation>Bilder (*.png *.jpg *.jpeg *.tif *.tiff *.bmp *.exr *.dpx)</translation>
    </message>
    <message>
        <source>%1 has no number in its name; the pictures of a sequence are numbered.</source>
        <translation>%1 hat keine Nummer im Namen; die Bilder einer Sequenz sind nummeriert.</translation>
    </message>
    <message>
        <source>Second clip</source>
        <translation>Zweiter Clip</translation>
    </message>
    <message>
        <source>Replace the clip</source>
        <translation>Clip ersetzen</translation>
    </message>
    <message>
        <source>Change the source</source>
        <translation>Quelle ändern</translation>
    </message>
    <message>
        <source>Source</source>
        <translation>Quelle</translation>
    </message>
    <message>
        <source>&amp;Frames a second:</source>
        <translation>&amp;Bilder pro Sekunde:</translation>
    </message>
    <message>
        <source>Making the demonstration clip…</source>
        <translation>Der Demonstrationsclip wird erzeugt…</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <source>Save the changes to %1?</source>
        <translation>Änderungen an %1 speichern?</translation>
    </message>
    <message>
        <source>Save project</source>
        <translation>Projekt speichern</translation>
    </message>
    <message>
        <source>Projects (*.larkmoor)</source>
        <translation>Projekte (*.larkmoor)</translation>
    </message>
    <message>
        <source>Exports are not finished. Give them up?</source>
        <translation>Es wird noch exportiert. Abbrechen?</translation>
    </message>
    <message>
        <source>Save this frame</source>
        <translation>Dieses Bild speichern</translation>
    </message>
    <message>
        <source>Pictures (*.png *.tif *.jpg)</source>
        <translation>Bilder (*.png *.tif *.jpg)</translation>
    </message>
    <message>
        <source>The project is made of this file; choose another name.</source>
        <translation>Aus dieser Datei besteht das Projekt; wählen Sie einen anderen Namen.</translation>
    </message>
    <message>
        <source>a project without a name</source>
        <translation>einem Projekt ohne Namen</translation>
    </message>
    <message>
        <source>Larkmoor did not end well last time. Open the unsaved changes to %1?</source>
        <translation>Larkmoor wurde beim letzten Mal unerwartet beendet. Die ungespeicherten Änderungen an %1 öffnen?</translation>
    </message>
    <message>
        <source>&amp;Open</source>
        <translation>Ö&amp;ffnen</translation>
    </message>
    <message>
        <source>Use as the &amp;second clip</source>
        <translation>Als &amp;zweiten Clip verwenden</translation>
    </message>
    <message>
        <source>&amp;Cancel</source>
        <translation>&amp;Abbrechen</translation>
    </message>
    <message numerus="yes">
        <source>Two of %n file(s) are open.</source>
        <translation>
            <numerusform>Von %n Datei sind zwei geöffnet.</numerusform>
            <numerusform>Von %n Dateien sind zwei geöffnet.</numerusform>
        </translation>
    </message>
    <message>
        <source>Drop a clip, a picture or a project here, or begin with one of these:</source>
        <translation>Ziehen Sie einen Clip, ein Bild oder ein Projekt hierher, oder beginnen Sie so:</translation>
    </message>
    <message>
        <source>&amp;Open a clip or picture…</source>
        <translation>&amp;Clip oder Bild öffnen…</translation>
    </message>
    <message>
        <source>Open an image &amp;sequence…</source>
        <translation>Bild&amp;sequenz öffnen…</translation>
    </message>
    <message>
        <source>Begin with a &amp;generator…</source>
        <translation>Mit einem &amp;Generator beginnen…</translation>
    </message>
    <message>
        <source>Open the &amp;demonstration clip</source>
        <translation>De&amp;monstrationsclip öffnen</translation>
    </message>
    <message>
        <source>Then choose effects from the list at the left. Their settings stand at the right,
the film below the picture, and File &gt; Export writes the result.</source>
        <translation>Wählen Sie dann links Effekte aus der Liste. Rechts stehen ihre Einstellungen,
unter dem Bild der Film, und Datei &gt; Exportieren schreibt das Ergebnis.</translation>
    </message>
    <message>
        <source>&amp;File</source>
        <translation>&amp;Datei</translation>
    </message>
    <message>
        <source>&amp;Open…</source>
        <translation>Ö&amp;ffnen…</translation>
    </message>
    <message>
        <source>Open &amp;image sequence…</source>
        <translation>Bildse&amp;quenz öffnen…</translation>
    </message>
    <message>
        <source>Open &amp;recent</source>
        <translation>&amp;Zuletzt geöffnet</translation>
    </message>
    <message>
        <source>New from a &amp;generator…</source>
        <translation>&amp;Neu aus Generator…</translation>
    </message>
    <message>
        <source>Add a second c&amp;lip…</source>
        <translation>Zweiten &amp;Clip hinzufügen…</translation>
    </message>
    <message>
        <source>Re&amp;place the clip…</source>
        <translation>C&amp;lip ersetzen…</translation>
    </message>
    <message>
        <source>So&amp;urce settings…</source>
        <translation>Q&amp;uelleneinstellungen…</translation>
    </message>
    <message>
        <source>&amp;Save project</source>
        <translation>Projekt &amp;speichern</translation>
    </message>
    <message>
        <source>Save project &amp;as…</source>
        <translation>Projekt speichern un&amp;ter…</translation>
    </message>
    <message>
        <source>&amp;Export…</source>
        <translation>&amp;Exportieren…</translation>
    </message>
    <message>
        <source>Save this &amp;frame…</source>
        <translation>D&amp;ieses Bild speichern…</translation>
    </message>
    <message>
        <source>&amp;Close</source>
        <translation>Sc&amp;hließen</translation>
    </message>
    <message>
        <source>&amp;Quit</source>
        <translation>&amp;Beenden</translation>
    </message>
    <message>
        <source>&amp;Edit</source>
        <translation>&amp;Bearbeiten</translation>
    </message>
    <message>
        <source>&amp;Undo</source>
        <translation>&amp;Rückgängig</translation>
    </message>
    <message>
        <source>&amp;Redo</source>
        <translation>&amp;Wiederherstellen</translation>
    </message>
    <message>
        <source>Cu&amp;t the effect</source>
        <translation>Effekt &amp;ausschneiden</translation>
    </message>
    <message>
        <source>&amp;Copy the effect</source>
        <translation>Effekt &amp;kopieren</translation>
    </message>
    <message>
        <source>Cop&amp;y all effects</source>
        <translation>Alle E&amp;ffekte kopieren</translation>
    </message>
    <message>
        <source>Pa&amp;ste effects</source>
        <translation>Effekte &amp;einfügen</translation>
    </message>
    <message>
        <source>&amp;Add an effect</source>
        <translation>Effekt &amp;hinzufügen</translation>
    </message>
    <message>
        <source>&amp;Duplicate the effect</source>
        <translation>Effekt &amp;duplizieren</translation>
    </message>
    <message>
        <source>Re&amp;move the effect</source>
        <translation>Effekt en&amp;tfernen</translation>
    </message>
    <message>
        <source>Move the effect u&amp;p</source>
        <translation>Effekt nach &amp;oben</translation>
    </message>
    <message>
        <source>Move the effect do&amp;wn</source>
        <translation>Effekt nach &amp;unten</translation>
    </message>
    <message>
        <source>Reset this &amp;field</source>
        <translation>Dieses Feld &amp;zurücksetzen</translation>
    </message>
    <message>
        <source>Reset a&amp;ll fields</source>
        <translation>A&amp;lle Felder zurücksetzen</translation>
    </message>
    <message>
        <source>&amp;View</source>
        <translation>&amp;Ansicht</translation>
    </message>
    <message>
        <source>&amp;Fit</source>
        <translation>&amp;Einpassen</translation>
    </message>
    <message>
        <source>&amp;Actual size</source>
        <translation>&amp;Originalgröße</translation>
    </message>
    <message>
        <source>Zoom &amp;in</source>
        <translation>Ver&amp;größern</translation>
    </message>
    <message>
        <source>Zoom &amp;out</source>
        <translation>Ver&amp;kleinern</translation>
    </message>
    <message>
        <source>Af&amp;ter</source>
        <translation>&amp;Nachher</translation>
    </message>
    <message>
        <source>&amp;Before</source>
        <translation>&amp;Vorher</translation>
    </message>
    <message>
        <source>Before and after, &amp;split</source>
        <translation>Vorher und nachher, ge&amp;teilt</translation>
    </message>
    <message>
        <source>A&amp;lpha</source>
        <translation>A&amp;lpha</translation>
    </message>
    <message>
        <source>Title-safe f&amp;rames</source>
        <translation>&amp;Sichere Ränder</translation>
    </message>
    <message>
        <source>Han&amp;dles of effects</source>
        <translation>&amp;Anfasser der Effekte</translation>
    </message>
    <message>
        <source>&amp;Panels</source>
        <translation>&amp;Bedienfelder</translation>
    </message>
    <message>
        <source>&amp;Usual arrangement</source>
        <translation>&amp;Standardanordnung</translation>
    </message>
    <message>
        <source>T&amp;heme</source>
        <translation>Farbsche&amp;ma</translation>
    </message>
    <message>
        <source>As the &amp;desktop</source>
        <translation>Wie der &amp;Desktop</translation>
    </message>
    <message>
        <source>&amp;Light</source>
        <translation>&amp;Hell</translation>
    </message>
    <message>
        <source>Dar&amp;k</source>
        <translation>D&amp;unkel</translation>
    </message>
    <message>
        <source>S&amp;cope</source>
        <translation>S&amp;cope</translation>
    </message>
    <message>
        <source>&amp;Histogram</source>
        <translation>&amp;Histogramm</translation>
    </message>
    <message>
        <source>&amp;Waveform</source>
        <translation>&amp;Waveform</translation>
    </message>
    <message>
        <source>&amp;Composite waveform</source>
        <translation>&amp;Composite-Waveform</translation>
    </message>
    <message>
        <source>&amp;Vectorscope</source>
        <translation>&amp;Vektorskop</translation>
    </message>
    <message>
        <source>&amp;None</source>
        <translation>&amp;Keines</translation>
    </message>
    <message>
        <source>F&amp;ilm</source>
        <translation>&amp;Film</translation>
    </message>
    <message>
        <source>&amp;Play or pause</source>
        <translation>&amp;Wiedergabe oder Pause</translation>
    </message>
    <message>
        <source>&amp;Next frame</source>
        <translation>&amp;Nächstes Bild</translation>
    </message>
    <message>
        <source>Pre&amp;vious frame</source>
        <translation>&amp;Voriges Bild</translation>
    </message>
    <message>
        <source>&amp;First frame</source>
        <translation>&amp;Erstes Bild</translation>
    </message>
    <message>
        <source>&amp;Last frame</source>
        <translation>&amp;Letztes Bild</translation>
    </message>
    <message>
        <source>Set &amp;in point</source>
        <translation>&amp;In-Punkt setzen</translation>
    </message>
    <message>
        <source>Set &amp;out point</source>
        <translation>&amp;Out-Punkt setzen</translation>
    </message>
    <message>
        <source>&amp;Back, faster each time (J)</source>
        <translation>&amp;Rückwärts, jedes Mal schneller (J)</translation>
    </message>
    <message>
        <source>&amp;Stop (K)</source>
        <translation>&amp;Stopp (K)</translation>
    </message>
    <message>
        <source>For&amp;wards, faster each time (L)</source>
        <translation>Vorwär&amp;ts, jedes Mal schneller (L)</translation>
    </message>
    <message>
        <source>&amp;Help</source>
        <translation>&amp;Hilfe</translation>
    </message>
    <message>
        <source>&amp;Keyboard</source>
        <translation>&amp;Tastatur</translation>
    </message>
    <message>
        <source>&amp;About</source>
        <translation>Ü&amp;ber Larkmoor</translation>
    </message>
    <message>
        <source>GPL 3 with the exception for what is linked with them</source>
        <translation>GPL 3 mit der Ausnahme für damit Gelinktes</translation>
    </message>
    <message>
        <source>About</source>
        <translation>Über Larkmoor</translation>
    </message>
    <message>
        <source>&lt;h3&gt;Larkmoor studio %1&lt;/h3&gt;&lt;p&gt;%2 video effects for stills and clips.&lt;/p&gt;&lt;p&gt;Larkmoor is under the MIT license. What it is built with has licenses of its own:&lt;/p&gt;&lt;table&gt;%3&lt;/table&gt;&lt;p&gt;Built with an FFmpeg that has GPL parts, as Debian&apos;s, the studio as a whole goes by the GPL, version 3.&lt;/p&gt;</source>
        <translation>&lt;h3&gt;Larkmoor Studio %1&lt;/h3&gt;&lt;p&gt;%2 Videoeffekte für Bilder und Clips.&lt;/p&gt;&lt;p&gt;Larkmoor steht unter der MIT-Lizenz. Womit es gebaut ist, hat eigene Lizenzen:&lt;/p&gt;&lt;table&gt;%3&lt;/table&gt;&lt;p&gt;Mit einem FFmpeg gebaut, das GPL-Teile enthält, wie das von Debian, steht das Studio als Ganzes unter der GPL, Version 3.&lt;/p&gt;</translation>
    </message>
    <message>
        <source>Filter</source>
        <translation>Filter</translation>
    </message>
    <message>
        <source>Transition</source>
        <translation>Übergang</translation>
    </message>
    <message>
        <source>Generator</source>
        <translation>Generator</translation>
    </message>
    <message>
        <source>&lt;tr&gt;&lt;td colspan=2&gt;&lt;br&gt;Wherever no text is typed: J, K and L play back, stop and play, faster each time; comma and full stop step; I and O set the in and out points.&lt;br&gt;Space plays, arrows step, Home and End jump, where the focus is on nothing that uses them.&lt;br&gt;In the picture: + and - zoom, [ and ] move the split.&lt;br&gt;Among the keys below the timeline: Delete removes one, Ctrl+C and Ctrl+V set it at the playhead, Ctrl and the arrows move it.&lt;br&gt;On a slider: a double-click on its thumb returns to the default, Escape takes a drag back.&lt;/td&gt;&lt;/tr&gt;</source>
        <translation>&lt;tr&gt;&lt;td colspan=2&gt;&lt;br&gt;Überall, wo kein Text eingegeben wird: J, K und L spielen rückwärts, halten an und spielen vorwärts, jedes Mal schneller; Komma und Punkt gehen Bild für Bild; I und O setzen In- und Out-Punkt.&lt;br&gt;Die Leertaste spielt ab, die Pfeiltasten gehen Bild für Bild, Pos1 und Ende springen, wo der Fokus auf nichts liegt, das sie selbst braucht.&lt;br&gt;Im Bild: + und - zoomen, [ und ] verschieben die Teilung.&lt;br&gt;Bei den Keyframes unter der Timeline: Entf entfernt einen, Strg+C und Strg+V setzen ihn an die Abspielposition, Strg und die Pfeiltasten verschieben ihn.&lt;br&gt;Auf einem Schieberegler: Ein Doppelklick auf den Griff stellt den Standardwert ein, Esc nimmt ein Ziehen zurück.&lt;/td&gt;&lt;/tr&gt;</translation>
    </message>
    <message>
        <source>Keyboard</source>
        <translation>Tastatur</translation>
    </message>
    <message>
        <source>Picture</source>
        <translation>Bild</translation>
    </message>
    <message>
        <source>Timeline</source>
        <translation>Timeline</translation>
    </message>
    <message>
        <source>Scope</source>
        <translation>Scope</translation>
    </message>
    <message>
        <source>Reading</source>
        <translation>Wird gelesen</translation>
    </message>
    <message>
        <source>Stack</source>
        <translation>Stapel</translation>
    </message>
    <message>
        <source>Effects</source>
        <translation>Effekte</translation>
    </message>
    <message>
        <source>Settings</source>
        <translation>Einstellungen</translation>
    </message>
    <message>
        <source>Presets</source>
        <translation>Vorgaben</translation>
    </message>
    <message>
        <source>Exports</source>
        <translation>Exporte</translation>
    </message>
    <message>
        <source>as it is set</source>
        <translation>wie eingestellt</translation>
    </message>
    <message>
        <source>Before</source>
        <translation>Vorher</translation>
    </message>
    <message>
        <source>After (%1)</source>
        <translation>Nachher (%1)</translation>
    </message>
    <message>
        <source>A double-click on a slider&apos;s thumb goes to the mark below it. &quot;Reset this field&quot; in the menu of a field and &quot;Reset all&quot; go to what the effect has when it is added.</source>
        <translation>Ein Doppelklick auf den Griff eines Schiebereglers stellt ihn auf die Marke darunter. „Dieses Feld zurücksetzen“ im Menü eines Feldes und „Alles zurücksetzen“ führen zu den Werten, mit denen der Effekt hinzugefügt wird.</translation>
    </message>
    <message>
        <source>Help</source>
        <translation>Hilfe</translation>
    </message>
    <message>
        <source>Cut</source>
        <translation>Schneiden</translation>
    </message>
    <message>
        <source>%1, %2:  %3 → %4</source>
        <translation>%1, %2:  %3 → %4</translation>
    </message>
    <message>
        <source>%1 is there already. Replace it?</source>
        <translation>%1 ist schon vorhanden. Ersetzen?</translation>
    </message>
    <message>
        <source>Clips, pictures and projects (*.larkmoor *.mp4 *.mov *.mkv *.webm *.avi *.mxf *.mpg *.m2ts *.ts *.png *.jpg *.jpeg *.tif *.tiff *.bmp *.webp *.exr *.dpx);;All files (*)</source>
        <translation>Clips, Bilder und Projekte (*.larkmoor *.mp4 *.mov *.mkv *.webm *.avi *.mxf *.mpg *.m2ts *.ts *.png *.jpg *.jpeg *.tif *.tiff *.bmp *.webp *.exr *.dpx);;Alle Dateien (*)</translation>
    </message>
    <message>
        <source>Given up.</source>
        <translation>Abgebrochen.</translation>
    </message>
    <message>
        <source>Counting the frames…</source>
        <translation>Bilder werden gezählt…</translation>
    </message>
</context>
<context>
    <name>larkmoor::PagePanel</name>
    <message>
        <source>D&amp;uration:</source>
        <translation>Da&amp;uer:</translation>
    </message>
    <message>
        <source>&amp;Keys</source>
        <translation>&amp;Keyframes</translation>
    </message>
    <message>
        <source>Pick the key color</source>
        <translation>Key-Farbe aufnehmen</translation>
    </message>
    <message>
        <source> s</source>
        <translation> s</translation>
    </message>
    <message>
        <source>A diamond for each field: values that change from frame to frame</source>
        <translation>Eine Raute für jedes Feld: Werte, die sich von Bild zu Bild ändern</translation>
    </message>
    <message>
        <source>Click into the picture as it is before this effect; Escape gives up</source>
        <translation>Klicken Sie in das Bild, wie es vor diesem Effekt ist; Esc bricht ab</translation>
    </message>
    <message>
        <source>Save preset…</source>
        <translation>Vorgabe speichern…</translation>
    </message>
    <message>
        <source>Keep these settings as a preset of your own</source>
        <translation>Diese Einstellungen als eigene Vorgabe behalten</translation>
    </message>
    <message>
        <source>Reset all</source>
        <translation>Alles zurücksetzen</translation>
    </message>
    <message>
        <source>All fields back to the effect&apos;s defaults; a field&apos;s own menu resets that one</source>
        <translation>Alle Felder auf die Standardwerte des Effekts; das Menü eines Feldes setzt nur dieses zurück</translation>
    </message>
    <message>
        <source>More about presets</source>
        <translation>Mehr zu Vorgaben</translation>
    </message>
    <message>
        <source>&amp;Save settings to a file…</source>
        <translation>Einstellungen in Datei &amp;speichern…</translation>
    </message>
    <message>
        <source>Save settings</source>
        <translation>Einstellungen speichern</translation>
    </message>
    <message>
        <source>Settings (*.state)</source>
        <translation>Einstellungen (*.state)</translation>
    </message>
    <message>
        <source>&amp;Load settings from a file…</source>
        <translation>Einstellungen aus Datei &amp;laden…</translation>
    </message>
    <message>
        <source>Load settings</source>
        <translation>Einstellungen laden</translation>
    </message>
    <message>
        <source>Settings (*.state);;All files (*)</source>
        <translation>Einstellungen (*.state);;Alle Dateien (*)</translation>
    </message>
    <message>
        <source>Change the duration</source>
        <translation>Dauer ändern</translation>
    </message>
    <message>
        <source>&amp;Reset this field</source>
        <translation>Dieses Feld &amp;zurücksetzen</translation>
    </message>
    <message>
        <source>Reset a&amp;ll fields</source>
        <translation>A&amp;lle Felder zurücksetzen</translation>
    </message>
    <message>
        <source>%1 has nothing to set.</source>
        <translation>Bei %1 gibt es nichts einzustellen.</translation>
    </message>
    <message>
        <source>An effect that is added now comes first.</source>
        <translation>Ein Effekt, der jetzt hinzugefügt wird, kommt an die erste Stelle.</translation>
    </message>
    <message>
        <source>Change %1</source>
        <translation>%1 ändern</translation>
    </message>
    <message>
        <source>Reset %1</source>
        <translation>%1 zurücksetzen</translation>
    </message>
    <message>
        <source>Apply a preset</source>
        <translation>Vorgabe anwenden</translation>
    </message>
    <message>
        <source>Save preset</source>
        <translation>Vorgabe speichern</translation>
    </message>
    <message>
        <source>&amp;Name:</source>
        <translation>&amp;Name:</translation>
    </message>
    <message>
        <source>There is a preset &quot;%1&quot; already. Replace it?</source>
        <translation>Die Vorgabe „%1“ gibt es schon. Ersetzen?</translation>
    </message>
    <message>
        <source>&amp;Remove &quot;%1&quot;</source>
        <translation>„%1“ &amp;entfernen</translation>
    </message>
    <message>
        <source>Remove preset</source>
        <translation>Vorgabe entfernen</translation>
    </message>
    <message>
        <source>Remove the preset &quot;%1&quot;?</source>
        <translation>Die Vorgabe „%1“ entfernen?</translation>
    </message>
</context>
<context>
    <name>larkmoor::PageView</name>
    <message>
        <source>This effect has no settings page that can be shown here.</source>
        <translation>Dieser Effekt hat keine Einstellungsseite, die sich hier zeigen ließe.</translation>
    </message>
    <message>
        <source>The settings page does not open.</source>
        <translation>Die Einstellungsseite öffnet sich nicht.</translation>
    </message>
</context>
<context>
    <name>larkmoor::PictureView</name>
    <message>
        <source>Picture</source>
        <translation>Bild</translation>
    </message>
    <message>
        <source>action</source>
        <translation>Aktion</translation>
    </message>
    <message>
        <source>title</source>
        <translation>Titel</translation>
    </message>
    <message>
        <source>none</source>
        <translation>keines</translation>
    </message>
    <message>
        <source>%1 × %2 pixels</source>
        <translation>%1 × %2 Pixel</translation>
    </message>
</context>
<context>
    <name>larkmoor::PresetStrip</name>
    <message>
        <source>Presets</source>
        <translation>Vorgaben</translation>
    </message>
</context>
<context>
    <name>larkmoor::ScopeView</name>
    <message>
        <source>Histogram</source>
        <translation>Histogramm</translation>
    </message>
    <message>
        <source>Luma waveform</source>
        <translation>Luma-Waveform</translation>
    </message>
    <message>
        <source>Composite waveform</source>
        <translation>Composite-Waveform</translation>
    </message>
    <message>
        <source>Vectorscope</source>
        <translation>Vektorskop</translation>
    </message>
</context>
<context>
    <name>larkmoor::SoundPlayer</name>
    <message>
        <source>No sound device is there; the film plays silently.</source>
        <translation>Es gibt kein Tongerät; der Film läuft stumm.</translation>
    </message>
    <message>
        <source>The sound device takes no stereo sound of 48 kHz; the film plays silently.</source>
        <translation>Das Tongerät nimmt keinen Stereoton mit 48 kHz an; der Film läuft stumm.</translation>
    </message>
    <message>
        <source>The sound device does not start; the film plays silently.</source>
        <translation>Das Tongerät startet nicht; der Film läuft stumm.</translation>
    </message>
</context>
<context>
    <name>larkmoor::SourceFacts</name>
    <message>
        <source>a picture</source>
        <translation>ein Bild</translation>
    </message>
    <message numerus="yes">
        <source>%L1 s (%n frame(s))</source>
        <translation>
            <numerusform>%L1 s (%n Bild)</numerusform>
            <numerusform>%L1 s (%n Bilder)</numerusform>
        </translation>
    </message>
    <message>
        <source>%1 × %2 pixels</source>
        <translation>%1 × %2 Pixel</translation>
    </message>
    <message>
        <source>, %L1 wide each</source>
        <translation>, je %L1 breit</translation>
    </message>
    <message>
        <source>Size:</source>
        <translation>Größe:</translation>
    </message>
    <message>
        <source>Rate:</source>
        <translation>Bildrate:</translation>
    </message>
    <message>
        <source>%L1 frames a second</source>
        <translation>%L1 Bilder pro Sekunde</translation>
    </message>
    <message>
        <source>Depth:</source>
        <translation>Farbtiefe:</translation>
    </message>
    <message numerus="yes">
        <source>%n bit(s) (%1)</source>
        <translation>
            <numerusform>%n Bit (%1)</numerusform>
            <numerusform>%n Bit (%1)</numerusform>
        </translation>
    </message>
    <message>
        <source>Levels:</source>
        <translation>Pegel:</translation>
    </message>
    <message>
        <source>full, 0 to 255</source>
        <translation>voll, 0 bis 255</translation>
    </message>
    <message>
        <source>studio, 16 to 235; 0 to 255 where effects see them</source>
        <translation>Studio, 16 bis 235; für die Effekte 0 bis 255</translation>
    </message>
    <message>
        <source>Alpha:</source>
        <translation>Alpha:</translation>
    </message>
    <message>
        <source>yes</source>
        <translation>ja</translation>
    </message>
    <message>
        <source>none</source>
        <translation>keines</translation>
    </message>
    <message>
        <source>Length:</source>
        <translation>Länge:</translation>
    </message>
    <message>
        <source>%L1 frames a second on average, unsteady</source>
        <translation>%L1 Bilder pro Sekunde im Mittel, ungleichmäßig</translation>
    </message>
</context>
<context>
    <name>larkmoor::StackPanel</name>
    <message>
        <source>Effects in order</source>
        <translation>Effekte der Reihe nach</translation>
    </message>
    <message>
        <source>Add an effect</source>
        <translation>Effekt hinzufügen</translation>
    </message>
    <message>
        <source>Remove the effect</source>
        <translation>Effekt entfernen</translation>
    </message>
    <message>
        <source>Duplicate the effect</source>
        <translation>Effekt duplizieren</translation>
    </message>
    <message>
        <source>Move the effect up</source>
        <translation>Effekt nach oben</translation>
    </message>
    <message>
        <source>Move the effect down</source>
        <translation>Effekt nach unten</translation>
    </message>
    <message>
        <source>%1 to %2</source>
        <translation>%1 zu %2</translation>
    </message>
    <message>
        <source>%1 (laid over)</source>
        <translation>%1 (darübergelegt)</translation>
    </message>
    <message>
        <source>Switch on</source>
        <translation>Einschalten</translation>
    </message>
    <message>
        <source>Switch off</source>
        <translation>Ausschalten</translation>
    </message>
    <message>
        <source>Move</source>
        <translation>Verschieben</translation>
    </message>
    <message>
        <source>Remove</source>
        <translation>Entfernen</translation>
    </message>
    <message>
        <source>Remove the second clip</source>
        <translation>Zweiten Clip entfernen</translation>
    </message>
    <message>
        <source>Duplicate</source>
        <translation>Duplizieren</translation>
    </message>
</context>
<context>
    <name>larkmoor::Timeline</name>
    <message>
        <source>Timeline</source>
        <translation>Timeline</translation>
    </message>
    <message>
        <source>In: %1</source>
        <translation>In: %1</translation>
    </message>
    <message>
        <source>Out: %1</source>
        <translation>Out: %1</translation>
    </message>
</context>
<context>
    <name>larkmoor::Transport</name>
    <message>
        <source>First frame</source>
        <translation>Erstes Bild</translation>
    </message>
    <message>
        <source>Back one frame</source>
        <translation>Ein Bild zurück</translation>
    </message>
    <message>
        <source>Play</source>
        <translation>Abspielen</translation>
    </message>
    <message>
        <source>Forward one frame</source>
        <translation>Ein Bild vor</translation>
    </message>
    <message>
        <source>Last frame</source>
        <translation>Letztes Bild</translation>
    </message>
    <message>
        <source>Loop</source>
        <translation>Schleife</translation>
    </message>
    <message>
        <source>Set the in point here</source>
        <translation>In-Punkt hier setzen</translation>
    </message>
    <message>
        <source>Set the out point here</source>
        <translation>Out-Punkt hier setzen</translation>
    </message>
    <message>
        <source>Frames</source>
        <translation>Bilder</translation>
    </message>
    <message>
        <source>Time</source>
        <translation>Zeit</translation>
    </message>
    <message>
        <source>Time and frames</source>
        <translation>Zeit und Bilder</translation>
    </message>
    <message>
        <source>Seconds</source>
        <translation>Sekunden</translation>
    </message>
    <message>
        <source>SMPTE non-drop (29.97)</source>
        <translation>SMPTE Non-Drop (29,97)</translation>
    </message>
    <message>
        <source>SMPTE drop (29.97)</source>
        <translation>SMPTE Drop (29,97)</translation>
    </message>
    <message>
        <source>SMPTE (30)</source>
        <translation>SMPTE (30)</translation>
    </message>
    <message>
        <source>SMPTE EBU (25)</source>
        <translation>SMPTE EBU (25)</translation>
    </message>
    <message>
        <source>SMPTE film (24)</source>
        <translation>SMPTE Film (24)</translation>
    </message>
    <message>
        <source>Feet and frames, 16 mm</source>
        <translation>Fuß und Bilder, 16 mm</translation>
    </message>
    <message>
        <source>Feet and frames, 35 mm</source>
        <translation>Fuß und Bilder, 35 mm</translation>
    </message>
    <message>
        <source>Measures and beats</source>
        <translation>Takte und Schläge</translation>
    </message>
    <message>
        <source>Beats</source>
        <translation>Schläge</translation>
    </message>
    <message>
        <source>CD time</source>
        <translation>CD-Zeit</translation>
    </message>
    <message>
        <source>Samples</source>
        <translation>Samples</translation>
    </message>
    <message>
        <source>Microseconds</source>
        <translation>Mikrosekunden</translation>
    </message>
    <message>
        <source>Transport</source>
        <translation>Wiedergabesteuerung</translation>
    </message>
    <message>
        <source>%1 (%2)</source>
        <translation>%1 (%2)</translation>
    </message>
    <message>
        <source>Time format</source>
        <translation>Zeitformat</translation>
    </message>
    <message>
        <source>Pause</source>
        <translation>Pause</translation>
    </message>
    <message>
        <source>%1 / %2</source>
        <translation>%1 / %2</translation>
    </message>
</context>
<context>
    <name>main</name>
    <message>
        <source>%1 is not open: the work of last time is.</source>
        <translation>%1 ist nicht geöffnet, sondern die Arbeit vom letzten Mal.</translation>
    </message>
</context>
</TS>
