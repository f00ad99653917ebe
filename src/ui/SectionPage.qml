import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

// The frame of one section: its title, then the content, scrolled when
// taller than the window.
Pane {
    id: page
    property string heading
    default property alias content: column.data
    padding: 20
    // Sized by the window; its own content never widens it.
    implicitWidth: 640
    implicitHeight: 480
    Accessible.name: heading

    ColumnLayout {
        anchors.fill: parent
        spacing: 8
        Label {
            text: page.heading
            font.pixelSize: 22
            font.bold: true
            Accessible.role: Accessible.Heading
            Accessible.name: text
        }
        ScrollView {
            id: scroller
            // Keyboard focus brings its control into view.
            Connections {
                target: page.Window.window
                function onActiveFocusItemChanged() { scroller.reveal(page.Window.activeFocusItem) }
            }
            function reveal(item) {
                for (var up = item; up; up = up.parent) {
                    if (up === column) {
                        var flick = scroller.contentItem
                        var top = item.mapToItem(column, 0, 0).y
                        if (top < flick.contentY)
                            flick.contentY = top
                        else if (top + item.height > flick.contentY + flick.height)
                            flick.contentY = top + item.height - flick.height
                        return
                    }
                }
            }
            Layout.fillWidth: true
            Layout.fillHeight: true
            contentWidth: availableWidth
            ColumnLayout {
                id: column
                width: scroller.availableWidth
                spacing: 12
            }
        }
    }
}
