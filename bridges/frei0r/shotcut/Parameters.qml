// The controls of a filter in Shotcut: a row for each parameter of a list, the same for every filter.
import QtQuick 2.12
import QtQuick.Controls 2.12
import QtQuick.Layouts 1.12
import Shotcut.Controls 1.0 as Shotcut

Item {
    id: page

    // Of each parameter: property, title, help, kind ("slider", "list", "switch", "color" or "text"), initial, animates;
    // low, high, decimals and unit of a slider; values and words of a list. Properties hold what the plug-in takes.
    property var fields: []

    // Not before a new filter has all its values: each of them tells of a change.
    property bool filled: false

    // What a row's control stands on until it is told its parameter.
    readonly property var none: ({
        "low": 0,
        "high": 1,
        "decimals": 0,
        "unit": "",
        "words": []
    })

    function position() {
        return Math.max(producer.position - (filter.in - producer.in), 0);
    }

    function show() {
        for (var i = 0; filled && i < rows.count; ++i)
            rows.itemAt(i).show();
    }

    width: 350
    height: fields.length * 30 + 60
    Component.onCompleted: {
        if (filter.isNew) {
            fields.forEach(function(field) {
                filter.set(field.property, field.initial);
            });
            filter.savePreset(preset.parameters);
        }
        filled = true;
        show();
    }

    Connections {
        function onChanged() {
            page.show();
        }

        target: filter
    }

    Connections {
        function onPositionChanged() {
            page.show();
        }

        target: producer
    }

    // A number from 0 to 1 behind a slider in the parameter's own unit.
    Component {
        id: slider

        Shotcut.SliderSpinner {
            property var field: page.none
            property real shown: 0

            signal edited(string value)

            function show(value) {
                shown = field.low + Number(value) * (field.high - field.low);
                this.value = shown;
            }

            minimumValue: field.low
            maximumValue: field.high
            decimals: field.decimals
            suffix: field.unit
            // The spinner rounds what it is given; that is no edit.
            onValueChanged: {
                if (Math.abs(value - shown) > 0.6 * Math.pow(10, -decimals))
                    edited(String((value - field.low) / (field.high - field.low)));
            }
        }
    }

    Component {
        id: list

        Shotcut.ComboBox {
            property var field: page.none

            signal edited(string value)

            function show(value) {
                var nearest = 0;
                for (var i = 1; i < field.values.length; ++i)
                    if (Math.abs(field.values[i] - value) < Math.abs(field.values[nearest] - value))
                        nearest = i;
                currentIndex = nearest;
            }

            model: field.words
            onActivated: edited(String(field.values[index]))
        }
    }

    Component {
        id: toggle

        CheckBox {
            property var field: page.none

            signal edited(string value)

            function show(value) {
                checked = Number(value) >= 0.5;
            }

            onClicked: edited(checked ? '1' : '0')
        }
    }

    Component {
        id: color

        Shotcut.ColorPicker {
            property var field: page.none
            property string shown

            signal edited(string value)

            function show(value) {
                shown = value;
                this.value = value;
            }

            onValueChanged: {
                if (!Qt.colorEqual(value, shown))
                    edited(String(value));
            }
        }
    }

    Component {
        id: text

        TextField {
            property var field: page.none

            signal edited(string value)

            function show(value) {
                if (!activeFocus)
                    this.text = value;
            }

            onEditingFinished: edited(text)
        }
    }

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: 8

        RowLayout {
            Label {
                text: qsTr('Preset')
            }

            Shotcut.Preset {
                id: preset

                Layout.fillWidth: true
                parameters: page.fields.map(function(field) {
                    return field.property;
                })
                onBeforePresetLoaded: parameters.forEach(function(name) {
                    filter.resetProperty(name);
                })
                onPresetSelected: page.show()
            }
        }

        Repeater {
            id: rows

            model: page.fields

            RowLayout {
                id: row

                property var field: modelData
                property bool quiet: true

                function show() {
                    quiet = true;
                    keys.checked = field.animates && filter.keyframeCount(field.property) > 0;
                    control.item.show(filter.get(field.property, page.position()));
                    quiet = false;
                }

                function write(value) {
                    if (keys.checked) {
                        filter.set(field.property, Number(value), page.position());
                    } else {
                        filter.resetProperty(field.property);
                        filter.set(field.property, value);
                    }
                }

                Label {
                    Layout.preferredWidth: 130
                    horizontalAlignment: Text.AlignRight
                    elide: Text.ElideRight
                    text: row.field.title

                    Shotcut.HoverTip {
                        text: row.field.help
                    }
                }

                Loader {
                    id: control

                    Layout.fillWidth: true
                    sourceComponent: ({
                        "slider": slider,
                        "list": list,
                        "switch": toggle,
                        "color": color,
                        "text": text
                    })[row.field.kind]
                    onLoaded: item.field = row.field
                }

                Connections {
                    function onEdited(value) {
                        if (!row.quiet)
                            row.write(value);
                    }

                    target: control.item
                }

                Shotcut.UndoButton {
                    onClicked: {
                        row.write(row.field.initial);
                        row.show();
                    }
                }

                Shotcut.KeyframesButton {
                    id: keys

                    visible: row.field.animates
                    onToggled: {
                        var on = checked;
                        var value = Number(filter.get(row.field.property, page.position()));
                        // Shows the parameter without keys meanwhile.
                        filter.resetProperty(row.field.property);
                        if (on)
                            filter.set(row.field.property, value, page.position());
                        else
                            filter.set(row.field.property, String(value));
                    }
                }
            }
        }

        Item {
            Layout.fillHeight: true
        }
    }
}
