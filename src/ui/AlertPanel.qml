import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

// An alert about a dictation: what happened and what the user can do.
// QuickPanels sets the heading, detail and button words; a press reports the
// button's index.
Window {
    id: alert
    width: 400
    height: content.implicitHeight + 32
    title: "Parlevo alert"
    color: system.window

    property string heading
    property string detail
    property var buttons: []

    signal actionChosen(int index)

    SystemPalette { id: system; colorGroup: SystemPalette.Active }

    Rectangle {
        anchors.fill: parent
        color: system.window
        border.color: Qt.darker(system.window, 1.35)
        border.width: 1
        radius: 6

        ColumnLayout {
            id: content
            anchors.fill: parent
            anchors.margins: 16
            spacing: 8
            Accessible.role: Accessible.AlertMessage
            Accessible.name: alert.heading

            Label {
                Layout.fillWidth: true
                wrapMode: Text.WordWrap
                font.pixelSize: 15
                font.bold: true
                color: system.windowText
                text: alert.heading
                Accessible.role: Accessible.StaticText
                Accessible.name: text
            }
            Label {
                Layout.fillWidth: true
                wrapMode: Text.WordWrap
                visible: text.length > 0
                font.pixelSize: 13
                color: system.windowText
                text: alert.detail
                Accessible.role: Accessible.StaticText
                Accessible.name: text
            }
            RowLayout {
                Layout.fillWidth: true
                Layout.topMargin: 6
                spacing: 8
                Item { Layout.fillWidth: true }
                Repeater {
                    model: alert.buttons
                    Button {
                        required property int index
                        required property string modelData
                        // A lone "&" would mark a mnemonic.
                        text: modelData.replace(/&/g, "&&")
                        // The last button is the usual answer.
                        highlighted: index === alert.buttons.length - 1
                        focusPolicy: Qt.NoFocus
                        onClicked: alert.actionChosen(index)
                        Accessible.role: Accessible.Button
                        Accessible.name: modelData
                        Accessible.onPressAction: alert.actionChosen(index)
                    }
                }
            }
        }
    }
}
