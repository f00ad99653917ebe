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
