import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

// Asks the user to click the field the finished text is to go into.
Window {
    id: prompt
    width: 360
    height: 56
    title: "Parlevo placement"
    color: system.window

    property string message

    SystemPalette { id: system; colorGroup: SystemPalette.Active }

    Rectangle {
        anchors.fill: parent
        color: system.window
        border.color: system.highlight
        border.width: 2
        radius: 4

        RowLayout {
            anchors.fill: parent
            anchors.margins: 12
            spacing: 10

            // A text cursor, the sign of a field waiting to be chosen.
            Rectangle {
                Layout.preferredWidth: 3
                Layout.preferredHeight: 22
                color: system.highlight
                Accessible.ignored: true
                SequentialAnimation on opacity {
                    running: prompt.visible
                    loops: Animation.Infinite
                    NumberAnimation { to: 0.2; duration: 500 }
                    NumberAnimation { to: 1.0; duration: 500 }
                }
            }
            Label {
                Layout.fillWidth: true
                wrapMode: Text.WordWrap
                maximumLineCount: 2
                elide: Text.ElideRight
                font.pixelSize: 13
                color: system.windowText
                text: prompt.message
                Accessible.role: Accessible.StaticText
                Accessible.name: text
            }
        }
    }
}
