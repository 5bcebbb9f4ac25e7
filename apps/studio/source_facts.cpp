#include "source_facts.h"

#include <QCoreApplication>
#include <QFileInfo>

#include "text.h"

extern "C" {
#include <libavutil/pixdesc.h>
}

namespace larkmoor {

class SourceFacts {
    Q_DECLARE_TR_FUNCTIONS(larkmoor::SourceFacts)

  public:
    static QString table(const std::string& path, const PictureFacts& facts);

  private:
    static QString lengthOf(const PictureFacts& facts);
};

QString SourceFacts::lengthOf(const PictureFacts& facts) {
    if (facts.frames <= 1 || av_q2d(facts.rate) <= 0) return tr("a picture");
    return tr("%L1 s (%n frame(s))", "", static_cast<int>(facts.frames)).arg(facts.secondsOf(facts.frames), 0, 'f', 2);
}

QString SourceFacts::table(const std::string& path, const PictureFacts& facts) {
    QString rows;
    const auto add = [&](const QString& name, const QString& value) {
        rows += "<tr><td align=right>" + name.toHtmlEscaped() + "&nbsp;</td><td><b>" + value.toHtmlEscaped() +
                "</b></td></tr>";
    };
    QString size = tr("%1 × %2 pixels").arg(facts.width).arg(facts.height);
    if (av_cmp_q(facts.aspect, {1, 1}) != 0) size += tr(", %L1 wide each").arg(av_q2d(facts.aspect), 0, 'g', 4);
    add(tr("Size:"), size);
    if (facts.frames > 1) {
        const double rate =
            facts.times ? static_cast<double>(facts.frames) / facts.secondsOf(facts.frames) : av_q2d(facts.rate);
        add(tr("Rate:"), (facts.times ? tr("%L1 frames a second on average, unsteady") : tr("%L1 frames a second"))
                             .arg(rate, 0, 'g', 5));
    }
    if (const AVPixFmtDescriptor* const format = av_pix_fmt_desc_get(facts.format)) {
        add(tr("Depth:"), tr("%n bit(s) (%1)", "", format->comp[0].depth).arg(QString::fromLatin1(format->name)));
        const bool full = isFullRange(facts.format, facts.colour.range);
        add(tr("Levels:"), full ? tr("full, 0 to 255") : tr("studio, 16 to 235; 0 to 255 where effects see them"));
        add(tr("Alpha:"), facts.alpha ? tr("yes") : tr("none"));
    }
    add(tr("Length:"), lengthOf(facts));
    return "<b>" + QFileInfo(text(path)).fileName().toHtmlEscaped() + "</b><table>" + rows + "</table>";
}

QString sourceFacts(const std::string& path, const PictureFacts& facts) {
    return SourceFacts::table(path, facts);
}

} // namespace larkmoor
