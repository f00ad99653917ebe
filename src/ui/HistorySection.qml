import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

// History: every dictation, newest first, until the user deletes it.
Pane {
    id: page
    padding: 20
    implicitWidth: 640
    implicitHeight: 480
    Accessible.name: "History"

    ColumnLayout {
        anchors.fill: parent
        spacing: 10
        Label {
            text: "History"
            font.pixelSize: 22
            font.bold: true
            Accessible.role: Accessible.Heading
        }

        RowLayout {
            Layout.fillWidth: true
            TextField {
                id: search
                Layout.fillWidth: true
                placeholderText: "Search History"
                Accessible.name: "Search History"
                Accessible.role: Accessible.EditableText
                onTextChanged: history.filter = text
                Keys.onDownPressed: list.forceActiveFocus()
            }
            PushButton {
                text: "Open recordings folder"
                onClicked: history.openFolder()
            }
        }
        RowLayout {
            Layout.fillWidth: true
            visible: history.failedCount > 0 || history.retryingAll
            Label {
                Layout.fillWidth: true
                text: history.retryingAll ? history.retryProgress
                                          : history.failedCount + (history.failedCount === 1 ? " dictation has" : " dictations have") + " no text yet."
                wrapMode: Text.WordWrap
            }
            PushButton {
                text: history.retryingAll ? "Stop retrying" : "Retry all"
                onClicked: history.retryingAll ? history.cancelRetryAll() : history.retryAllFailed()
            }
        }
        Label {
            Layout.fillWidth: true
            visible: text !== ""
            text: history.message
            wrapMode: Text.WordWrap
            Accessible.role: Accessible.StaticText
        }
        Label {
            visible: history.count === 0
            text: history.totalCount === 0 ? "Your dictations will appear here." : "Nothing in History matches “" + history.filter + "”."
        }

        ListView {
            id: list
            Layout.fillWidth: true
            Layout.fillHeight: true
            clip: true
            model: history
            spacing: 6
            keyNavigationEnabled: true
            reuseItems: true
            Accessible.role: Accessible.List
            Accessible.name: "Dictations"
            ScrollBar.vertical: ScrollBar {}

            delegate: ItemDelegate {
                id: row
                required property string entryId
                required property string entryText
                required property string failure
                required property string time
                required property string duration
                required property string modelTitle
                required property string styleTitle
                required property string entryState
                required property bool hasAudio
                required property string summary
                required property int index
                width: ListView.view.width - 12
                padding: 10
                highlighted: ListView.isCurrentItem
                Accessible.name: summary
                background: Rectangle {
                    color: row.entryState === "failed" ? Qt.tint(palette.base, "#30ff3030") : palette.base
                    border.color: row.ListView.isCurrentItem && list.activeFocus ? palette.highlight
                                : row.entryState === "failed" ? "#c62828" : palette.mid
                    border.width: row.entryState === "failed" || row.ListView.isCurrentItem ? 2 : 1
                    radius: 4
                }

                contentItem: ColumnLayout {
                    spacing: 6
                    Label {
                        Layout.fillWidth: true
                        wrapMode: Text.WordWrap
                        maximumLineCount: 6
                        elide: Text.ElideRight
                        text: row.entryState === "done" ? row.entryText
                            : row.entryState === "transcribing" ? "Transcribing…" + (dictation.totalParts > 1 ? " (" + dictation.finishedParts + " of " + dictation.totalParts + " parts)" : "")
                            : row.entryState === "failed" ? row.failure
                            : "Waiting to be transcribed."
                        color: row.entryState === "failed" ? "#c62828" : palette.text
                        font.italic: row.entryState !== "done"
                    }
                    Label {
                        Layout.fillWidth: true
                        opacity: 0.75
                        font.pixelSize: 12
                        text: [row.time, row.duration, row.modelTitle, row.styleTitle].filter(function (s) { return s !== "" }).join(" · ")
                    }
                    Flow {
                        Layout.fillWidth: true
                        spacing: 6
                        PushButton {
                            visible: row.entryState === "done"
                            text: "Copy"
                            Accessible.description: row.summary
                            onClicked: history.copy(row.entryId)
                        }
                        PushButton {
                            visible: row.hasAudio && row.entryState !== "transcribing"
                            text: "Retry"
                            Accessible.description: row.summary
                            onClicked: history.retry(row.entryId)
                        }
                        PushButton {
                            visible: row.hasAudio && row.entryState !== "transcribing"
                            text: "Retry & copy"
                            Accessible.description: row.summary
                            onClicked: history.retryAndCopy(row.entryId)
                        }
                        PushButton {
                            visible: row.hasAudio
                            text: "Play"
                            Accessible.description: row.summary
                            onClicked: history.play(row.entryId)
                        }
                        PushButton {
                            text: "Delete"
                            enabled: row.entryState !== "transcribing"
                            Accessible.description: row.summary
                            onClicked: history.remove(row.entryId)
                        }
                    }
                }
            }
        }
    }
}
