import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

ApplicationWindow {
    id: window
    width: 880
    height: 600
    minimumWidth: 640
    minimumHeight: 420
    visible: false
    title: "Parlevo"

    RowLayout {
        anchors.fill: parent
        spacing: 0

        ListView {
            id: sectionList
            Layout.preferredWidth: 180
            Layout.fillHeight: true
            model: appSections
            currentIndex: 0
            delegate: ItemDelegate {
                width: ListView.view.width
                text: modelData
                highlighted: ListView.isCurrentItem
                onClicked: sectionList.currentIndex = index
            }
        }

        Rectangle {
            Layout.fillHeight: true
            Layout.preferredWidth: 1
            color: palette.mid
        }

        Pane {
            Layout.fillWidth: true
            Layout.fillHeight: true

            Label {
                anchors.centerIn: parent
                text: appSections[sectionList.currentIndex]
                font.pixelSize: 22
            }
        }
    }
}
