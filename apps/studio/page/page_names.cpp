#include "page_names.h"

#include <algorithm>
#include <map>
#include <set>

namespace larkmoor {

QString plainName(QString text) {
    text.remove('&');
    while (text.endsWith(':') || text.endsWith(' ')) text.chop(1);
    return text;
}

std::vector<QString> controlNames(std::span<const NamedControl> controls, const QString& title) {
    std::map<LONG, QString> labelled;
    for (const NamedControl& label : controls) {
        if (label.kind != KWCONTROL_LABEL || !label.buddy) continue;
        QString& name = labelled[label.buddy];
        name = QString(name + ' ' + plainName(label.text)).trimmed();
    }
    std::vector<QString> names;
    QString last;
    for (const NamedControl& control : controls) {
        QString name;
        switch (control.kind) {
        case KWCONTROL_LABEL:
        case KWCONTROL_GROUP:
        case KWCONTROL_CHECK:
        case KWCONTROL_RADIO:
            name = plainName(control.text);
            // What has no label of its own goes by the one before it, or by the box that it stands in.
            if ((control.kind == KWCONTROL_LABEL || control.kind == KWCONTROL_GROUP) && !name.isEmpty()) last = name;
            break;
        case KWCONTROL_LOGO:
            name = title;
            break;
        default:
            name = labelled[control.kind == KWCONTROL_SPINNER ? control.buddy : control.id];
            if (name.isEmpty()) name = last;
            break;
        }
        names.push_back(!name.isEmpty() ? name : !control.help.isEmpty() ? control.help : title);
    }
    return names;
}

std::vector<int> controlFields(std::span<const NamedControl> controls, std::span<const QString> helpOfFields) {
    struct Turn {
        std::size_t number = 0;
        std::set<tPageControlKind> seen; ///< one of a kind for each field
    };
    std::map<QString, Turn> turns;
    std::vector<int> fields;
    for (const NamedControl& control : controls) {
        std::vector<int> same;
        for (std::size_t i = 0; i < helpOfFields.size() && !control.help.isEmpty(); ++i)
            if (helpOfFields[i] == control.help) same.push_back(static_cast<int>(i));
        if (same.empty()) {
            fields.push_back(-1);
            continue;
        }
        Turn& turn = turns[control.help];
        if (same.size() > 1 && !turn.seen.insert(control.kind).second) {
            turn.seen = {control.kind};
            ++turn.number;
        }
        fields.push_back(same[std::min(turn.number, same.size() - 1)]);
    }
    return fields;
}

} // namespace larkmoor
