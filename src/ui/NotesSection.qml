import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

// Notes: the recorded calls and meetings, newest first.
Pane {
    id: page
    padding: 20
    implicitWidth: 640
    implicitHeight: 480
    Accessible.name: "Notes"
    Component.onCompleted: notesList.refresh()

    ColumnLayout {
        anchors.fill: parent
        spacing: 10
        Label {
            text: "Notes"
            font.pixelSize: 22
            font.bold: true
            Accessible.role: Accessible.Heading
        }
        RowLayout {
            Layout.fillWidth: true
            TextField {
                Layout.fillWidth: true
                placeholderText: "Search notes"
                Accessible.name: "Search notes"
                Accessible.role: Accessible.EditableText
                onTextChanged: notesList.filter = text
                Keys.onDownPressed: list.forceActiveFocus()
            }
            BusyIndicator {
                running: notesList.loading
                visible: running
                implicitWidth: 28
                implicitHeight: 28
                Accessible.name: "Loading notes"
            }
        }
        Label {
            visible: text !== ""
            text: notesList.problem
        }
        Label {
            visible: notesList.count === 0 && !notesList.loading
            text: notesList.totalCount === 0 ? "Record a call or a meeting with the Notes shortcut or from the tray; it will appear here." : "No note matches “" + notesList.filter + "”."
            wrapMode: Text.WordWrap
            Layout.fillWidth: true
        }
        ListView {
            id: list
            Layout.fillWidth: true
            Layout.fillHeight: true
            clip: true
            model: notesList
            spacing: 4
            keyNavigationEnabled: true
            reuseItems: true
            Accessible.role: Accessible.List
            Accessible.name: "Notes"
            ScrollBar.vertical: ScrollBar {}
            delegate: ItemDelegate {
                id: row
                required property string title
                required property string time
                required property string duration
                required property string noteState
                required property string source
                required property string preview
                required property string message
                width: ListView.view.width - 12
                highlighted: ListView.isCurrentItem
                Accessible.role: Accessible.ListItem
                Accessible.name: title + ", " + time + ", " + noteState
                contentItem: ColumnLayout {
                    spacing: 2
                    RowLayout {
                        Label { text: row.title; font.bold: true; Layout.fillWidth: true; elide: Text.ElideRight }
                        Label { text: row.noteState; color: row.noteState === "Failed" ? "#c62828" : palette.text }
                    }
                    Label {
                        opacity: 0.75
                        font.pixelSize: 12
                        text: [row.time, row.duration, row.source].filter(function (s) { return s !== "" }).join(" · ")
                    }
                    Label {
                        Layout.fillWidth: true
                        visible: text !== ""
                        text: row.message !== "" ? row.message : row.preview
                        elide: Text.ElideRight
                        maximumLineCount: 2
                        wrapMode: Text.WordWrap
                    }
                }
            }
        }
    }
}
