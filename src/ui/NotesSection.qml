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
    Component.onCompleted: {
        notesList.refresh()
        notes.refreshCallHint()
    }
    // A call that starts while the section is open is noticed.
    Timer {
        interval: 5000
        repeat: true
        running: page.visible && !notes.recording
        onTriggered: notes.refreshCallHint()
    }
    property bool showingNote: false

    function openNote(id) {
        noteDetail.open(id)
        showingNote = true
    }

    NotePage {
        anchors.fill: parent
        visible: page.showingNote
        onBack: {
            page.showingNote = false
            noteDetail.close()
            notesList.refresh()
        }
    }

    ColumnLayout {
        anchors.fill: parent
        visible: !page.showingNote
        spacing: 10
        Label {
            text: "Notes"
            font.pixelSize: 22
            font.bold: true
            Accessible.role: Accessible.Heading
        }
        // Recording: start a call or a meeting, or follow the one under way.
        RowLayout {
            Layout.fillWidth: true
            visible: !notes.recording
            PushButton {
                text: "Record call"
                Accessible.description: "Records the microphone and this computer’s audio"
                onClicked: recordProblem.text = notes.start(true)
            }
            PushButton {
                text: "Record meeting"
                Accessible.description: "Records the microphone only"
                onClicked: recordProblem.text = notes.start(false)
            }
            Label {
                Layout.fillWidth: true
                visible: notes.callLikely
                text: notes.callAppName !== "" ? "A call in " + notes.callAppName + " seems to be running." : "A call seems to be running."
                wrapMode: Text.WordWrap
            }
        }
        Label {
            id: recordProblem
            Layout.fillWidth: true
            visible: text !== "" && !notes.recording
            wrapMode: Text.WordWrap
            color: "#c62828"
            Accessible.role: Accessible.AlertMessage
        }
        GroupBox {
            Layout.fillWidth: true
            visible: notes.recording
            title: notes.call ? "Recording a call" : "Recording a meeting"
            Accessible.name: title
            GridLayout {
                anchors.left: parent.left
                anchors.right: parent.right
                columns: 2
                Label {
                    text: notes.elapsedText
                    font.family: "monospace"
                    Accessible.name: "Elapsed " + text
                }
                PushButton {
                    Layout.alignment: Qt.AlignRight
                    text: "Stop recording"
                    onClicked: notes.stop()
                }
                Label { text: "Microphone" }
                ProgressBar {
                    Layout.fillWidth: true
                    from: 0
                    to: 1
                    value: notes.microphoneLevel
                    Accessible.name: "Microphone level"
                }
                Label { text: "Computer audio"; visible: notes.call }
                ProgressBar {
                    Layout.fillWidth: true
                    visible: notes.call
                    from: 0
                    to: 1
                    value: notes.systemLevel
                    Accessible.name: "Computer audio level"
                }
                Label {
                    Layout.columnSpan: 2
                    Layout.fillWidth: true
                    visible: text !== ""
                    text: notes.notice
                    wrapMode: Text.WordWrap
                    Accessible.role: Accessible.AlertMessage
                    Accessible.name: text
                }
            }
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
                required property string noteId
                // Processing runs in this application; the list only says so.
                property string progress: notes.isProcessing(noteId) ? notes.progressText(noteId) : ""
                Connections {
                    target: notes
                    function onProcessingChanged(id) {
                        if (id === row.noteId)
                            row.progress = notes.isProcessing(row.noteId) ? notes.progressText(row.noteId) : ""
                    }
                }
                width: ListView.view.width - 12
                onClicked: page.openNote(noteId)
                Keys.onReturnPressed: page.openNote(noteId)
                Accessible.onPressAction: page.openNote(noteId)
                highlighted: ListView.isCurrentItem
                Accessible.role: Accessible.ListItem
                Accessible.name: title + ", " + time + ", " + (progress !== "" ? progress : noteState)
                contentItem: ColumnLayout {
                    spacing: 2
                    RowLayout {
                        Label { text: row.title; font.bold: true; Layout.fillWidth: true; elide: Text.ElideRight }
                        Label {
                            text: row.progress !== "" ? row.progress : row.noteState
                            color: row.noteState === "Failed" && row.progress === "" ? "#c62828" : palette.text
                        }
                        PushButton {
                            visible: row.progress === "" && (row.noteState === "Interrupted" || row.noteState === "Failed" || row.noteState === "Processing")
                            text: "Process now"
                            Accessible.name: "Process now: " + row.title
                            onClicked: notes.processNow(row.noteId)
                        }
                        PushButton {
                            visible: row.progress !== ""
                            text: "Stop"
                            Accessible.name: "Stop processing: " + row.title
                            onClicked: notes.cancelProcessing(row.noteId)
                        }
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
