import QtQuick
import QtQuick.Controls

// The round microphone beside a text field: a press starts a dictation into
// that field, which keeps the keyboard focus.
Window {
    id: field
    width: 44
    height: 44
    title: "Parlevo microphone"
    color: system.highlight

    signal pressed()

    SystemPalette { id: system; colorGroup: SystemPalette.Active }

    AbstractButton {
        id: button
        anchors.fill: parent
        focusPolicy: Qt.NoFocus
        hoverEnabled: true
        onClicked: field.pressed()
        Accessible.role: Accessible.Button
        Accessible.name: "Dictate into this field"
        Accessible.onPressAction: field.pressed()
        ToolTip.visible: hovered
        ToolTip.delay: 600
        ToolTip.text: "Dictate into this field"

        background: Rectangle {
            radius: width / 2
            color: button.down ? Qt.darker(system.highlight, 1.25)
                 : button.hovered ? Qt.lighter(system.highlight, 1.1) : system.highlight
        }
        // A microphone: capsule, cup and stand.
        contentItem: Item {
            Rectangle {
                x: 13; y: 17; width: 18; height: 14; radius: 9
                color: "transparent"
                border.color: system.highlightedText
                border.width: 2
                // Only the lower half of the ring shows: the cup.
                Rectangle {
                    x: -2; y: -2; width: parent.width + 4; height: parent.height / 2 + 2
                    color: button.background.color
                }
            }
            Rectangle {
                x: 17; y: 9; width: 10; height: 17; radius: 5
                color: system.highlightedText
            }
            Rectangle { x: 21; y: 30; width: 2; height: 5; color: system.highlightedText }
            Rectangle { x: 17; y: 35; width: 10; height: 2; radius: 1; color: system.highlightedText }
        }
    }
}
