import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

// The heads-up pill of a dictation. QuickPanels sets the properties and
// places the window; `meter` (elapsed, level) is a context property.
Window {
    id: pill
    width: 360
    height: 64
    title: "Parlevo dictation"
    color: system.window

    property string kind: "recording"
    property string styleTitle
    property string shortcut
    property string destination
    property string message
    property int finishedParts
    property int totalParts

    signal cancelPressed()

    readonly property bool recording: kind === "recording"
    readonly property bool transcribing: kind === "transcribing"
    readonly property color accent: kind === "failed" ? "#c0392b"
                                  : kind === "copied" ? "#2e8b57"
                                  : recording ? "#d9342b" : system.highlight

    SystemPalette { id: system; colorGroup: SystemPalette.Active }

    Rectangle {
        anchors.fill: parent
        radius: height / 2
        color: system.window
        border.color: Qt.darker(system.window, 1.35)
        border.width: 1

        RowLayout {
            anchors.fill: parent
            anchors.leftMargin: 18
            anchors.rightMargin: 12
            spacing: 12

            // The live level while recording; a spinner-like dot otherwise.
            Item {
                id: meterView
                Layout.preferredWidth: 30
                Layout.preferredHeight: 28
                Accessible.role: pill.recording ? Accessible.ProgressBar : Accessible.Graphic
                Accessible.name: pill.recording ? "Microphone level" : pill.kind

                Row {
                    anchors.centerIn: parent
                    spacing: 3
                    visible: pill.recording
                    Repeater {
                        model: 5
                        Rectangle {
                            required property int index
                            // The middle bars move most, like a voice.
                            readonly property real weight: [0.55, 0.8, 1.0, 0.8, 0.55][index]
                            width: 4
                            radius: 2
                            anchors.verticalCenter: parent.verticalCenter
                            height: 4 + 22 * Math.min(1, Math.max(0, meter.level)) * weight
                            color: pill.accent
                            Behavior on height { NumberAnimation { duration: 90 } }
                        }
                    }
                }
                Rectangle {
                    anchors.centerIn: parent
                    visible: !pill.recording
                    width: 16
                    height: 16
                    radius: 8
                    color: pill.accent
                    SequentialAnimation on opacity {
                        running: pill.transcribing && pill.visible
                        loops: Animation.Infinite
                        NumberAnimation { to: 0.3; duration: 600 }
                        NumberAnimation { to: 1.0; duration: 600 }
                    }
                }
            }

            ColumnLayout {
                Layout.fillWidth: true
                spacing: 1

                RowLayout {
                    Layout.fillWidth: true
                    spacing: 8
                    Label {
                        id: headline
                        Layout.fillWidth: !shortcutLabel.visible
                        elide: Text.ElideRight
                        font.pixelSize: 14
                        font.bold: true
                        color: system.windowText
                        text: pill.recording ? (pill.styleTitle.length > 0 ? pill.styleTitle : "Dictation")
                            : pill.transcribing ? "Transcribing"
                            : pill.kind === "copied" ? "Copied" : "Dictation failed"
                        Accessible.role: Accessible.StaticText
                        Accessible.name: text
                    }
                    Label {
                        id: shortcutLabel
                        Layout.fillWidth: true
                        visible: pill.recording && pill.shortcut.length > 0
                        elide: Text.ElideRight
                        font.pixelSize: 11
                        color: system.windowText
                        opacity: 0.6
                        text: pill.shortcut
                        Accessible.role: Accessible.StaticText
                        Accessible.name: "Shortcut " + text
                    }
                }
                Label {
                    id: detailLine
                    Layout.fillWidth: true
                    elide: Text.ElideRight
                    // A copied or failed sentence may take two lines.
                    wrapMode: pill.recording || pill.transcribing ? Text.NoWrap : Text.WordWrap
                    maximumLineCount: 2
                    lineHeight: 0.95
                    font.pixelSize: 12
                    color: system.windowText
                    opacity: 0.75
                    text: pill.recording
                          ? pill.destination
                          : pill.transcribing
                            ? (pill.totalParts > 1 ? "Part " + Math.min(pill.finishedParts + 1, pill.totalParts)
                                                     + " of " + pill.totalParts
                                                   : pill.destination)
                            : pill.message
                    visible: text.length > 0
                    Accessible.role: Accessible.StaticText
                    Accessible.name: text
                }
            }

            Label {
                id: clock
                visible: pill.recording
                font.pixelSize: 14
                font.family: "monospace"
                color: system.windowText
                text: meter.elapsed
                Accessible.role: Accessible.StaticText
                Accessible.name: "Elapsed " + text
            }

            RoundButton {
                id: cancelButton
                visible: pill.recording || pill.transcribing
                Layout.preferredWidth: 36
                Layout.preferredHeight: 36
                focusPolicy: Qt.NoFocus
                text: "✕"
                font.pixelSize: 14
                onClicked: pill.cancelPressed()
                Accessible.role: Accessible.Button
                Accessible.name: "Cancel dictation"
                Accessible.onPressAction: pill.cancelPressed()
                ToolTip.visible: hovered
                ToolTip.text: "Cancel dictation"
            }
        }
    }
}
