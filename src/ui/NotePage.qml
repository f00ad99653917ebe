import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import QtMultimedia

// One note: its player, who spoke when, the turns, the speakers' names, the
// summary, questions, exports and deletions.
Pane {
    id: page
    signal back()
    padding: 0
    Accessible.name: "Note " + noteDetail.title

    function seek(ms) {
        if (player.source.toString() === "")
            return
        player.position = ms
        if (player.playbackState !== MediaPlayer.PlayingState)
            player.play()
    }

    MediaPlayer {
        id: player
        source: noteDetail.audioUrl
        audioOutput: AudioOutput {}
    }
    Connections {
        target: noteDetail
        function onClosed() { page.back() }
    }

    ScrollView {
        id: scroller
        anchors.fill: parent
        contentWidth: availableWidth
        clip: true

        ColumnLayout {
            width: scroller.availableWidth - 8
            spacing: 10

            RowLayout {
                Layout.fillWidth: true
                PushButton {
                    text: "Back to Notes"
                    onClicked: { player.stop(); page.back() }
                }
                Item { Layout.fillWidth: true }
                Label {
                    text: noteDetail.stateText
                    color: noteDetail.stateText === "Failed" ? "#c62828" : palette.text
                    Accessible.name: "State " + text
                }
            }
            TextField {
                Layout.fillWidth: true
                text: noteDetail.title
                font.pixelSize: 20
                font.bold: true
                Accessible.name: "Note title"
                Accessible.role: Accessible.EditableText
                onEditingFinished: if (text !== noteDetail.title) noteDetail.renameNote(text)
            }
            Label {
                text: noteDetail.subtitle
                opacity: 0.75
                Accessible.name: text
            }
            Label {
                Layout.fillWidth: true
                visible: text !== ""
                text: noteDetail.message
                wrapMode: Text.WordWrap
                Accessible.role: Accessible.AlertMessage
                Accessible.name: text
            }
            Label {
                Layout.fillWidth: true
                visible: text !== ""
                text: noteDetail.status
                wrapMode: Text.WordWrap
                Accessible.role: Accessible.StaticText
                Accessible.name: text
            }

            // --- The player -------------------------------------------------
            RowLayout {
                Layout.fillWidth: true
                visible: player.source.toString() !== ""
                PushButton {
                    text: player.playbackState === MediaPlayer.PlayingState ? "Pause" : "Play"
                    onClicked: player.playbackState === MediaPlayer.PlayingState ? player.pause() : player.play()
                }
                Slider {
                    Layout.fillWidth: true
                    from: 0
                    to: Math.max(1, player.duration)
                    value: player.position
                    Accessible.name: "Position"
                    onMoved: player.position = value
                }
                Label {
                    font.family: "monospace"
                    text: noteDetail.clock(player.position) + " / " + noteDetail.clock(noteDetail.durationMs)
                    Accessible.name: "Position " + text
                }
            }
            Label {
                visible: !noteDetail.audioKept
                text: "The audio of this note was deleted."
            }

            // --- Who spoke when --------------------------------------------
            Label {
                visible: noteDetail.lanes.length > 0
                text: "Who spoke when"
                font.bold: true
                Accessible.role: Accessible.Heading
                Accessible.name: text
            }
            Repeater {
                model: noteDetail.lanes
                delegate: RowLayout {
                    id: lane
                    required property var modelData
                    Layout.fillWidth: true
                    Label {
                        Layout.preferredWidth: 130
                        text: lane.modelData.name
                        elide: Text.ElideRight
                    }
                    Rectangle {
                        id: track
                        Layout.fillWidth: true
                        height: 18
                        radius: 3
                        color: Qt.rgba(palette.text.r, palette.text.g, palette.text.b, 0.08)
                        Accessible.role: Accessible.Graphic
                        Accessible.name: lane.modelData.name + " spoke " + lane.modelData.spans.length + " times"
                        Repeater {
                            model: lane.modelData.spans
                            delegate: Rectangle {
                                required property var modelData
                                x: track.width * modelData.startMs / Math.max(1, noteDetail.durationMs)
                                width: Math.max(2, track.width * (modelData.endMs - modelData.startMs) / Math.max(1, noteDetail.durationMs))
                                height: track.height
                                radius: 2
                                color: lane.modelData.unclear ? "#9e9e9e" : (lane.modelData.label === "you" ? "#1e88e5" : "#43a047")
                            }
                        }
                        Rectangle {
                            visible: player.source.toString() !== ""
                            x: track.width * player.position / Math.max(1, noteDetail.durationMs)
                            width: 2
                            height: track.height
                            color: palette.highlight
                        }
                        MouseArea {
                            anchors.fill: parent
                            onClicked: function (mouse) { page.seek(mouse.x / track.width * noteDetail.durationMs) }
                        }
                    }
                }
            }

            // --- The speakers' names ---------------------------------------
            Label {
                visible: noteDetail.speakers.length > 0
                text: "Speakers"
                font.bold: true
                Accessible.role: Accessible.Heading
                Accessible.name: text
            }
            Repeater {
                model: noteDetail.speakers
                delegate: RowLayout {
                    id: speaker
                    required property var modelData
                    Layout.fillWidth: true
                    TextField {
                        Layout.preferredWidth: 220
                        text: speaker.modelData.name
                        Accessible.name: "Name for " + speaker.modelData.label
                        Accessible.role: Accessible.EditableText
                        onEditingFinished: if (text !== speaker.modelData.name) noteDetail.rename(speaker.modelData.label, text)
                    }
                    Repeater {
                        model: speaker.modelData.named ? [] : speaker.modelData.suggestions
                        delegate: RowLayout {
                            required property var modelData
                            PushButton {
                                text: "Use " + modelData.name
                                ToolTip.visible: hovered
                                ToolTip.text: modelData.quote
                                Accessible.description: modelData.quote
                                onClicked: noteDetail.rename(speaker.modelData.label, modelData.name)
                            }
                            PushButton {
                                text: "Not " + modelData.name
                                onClicked: noteDetail.dismissSuggestion(modelData.key)
                            }
                        }
                    }
                }
            }

            // --- The summary -----------------------------------------------
            RowLayout {
                Layout.fillWidth: true
                Label {
                    Layout.fillWidth: true
                    text: "Summary"
                    font.bold: true
                    Accessible.role: Accessible.Heading
                    Accessible.name: text
                }
                PushButton {
                    visible: noteDetail.turns.length > 0
                    text: noteDetail.summary.title === undefined ? "Summarize" : "Summarize again"
                    onClicked: noteDetail.summarize()
                }
            }
            Label {
                visible: noteDetail.summary.title === undefined
                text: "No summary yet."
                opacity: 0.75
            }
            Label {
                Layout.fillWidth: true
                visible: noteDetail.summary.stale === true
                text: "The transcript changed after this summary was written."
                wrapMode: Text.WordWrap
            }
            Label {
                Layout.fillWidth: true
                visible: text !== ""
                text: noteDetail.summary.overview !== undefined ? noteDetail.summary.overview : ""
                wrapMode: Text.WordWrap
            }
            Repeater {
                model: noteDetail.summary.sections !== undefined ? noteDetail.summary.sections : []
                delegate: ColumnLayout {
                    id: list
                    required property var modelData
                    Layout.fillWidth: true
                    Label {
                        text: list.modelData.heading
                        font.bold: true
                        Accessible.role: Accessible.Heading
                        Accessible.name: text
                    }
                    Repeater {
                        model: list.modelData.items
                        delegate: RowLayout {
                            required property var modelData
                            Layout.fillWidth: true
                            PushButton {
                                visible: modelData.atMs >= 0
                                flat: true
                                text: modelData.time
                                Accessible.name: "Play from " + modelData.time
                                onClicked: page.seek(modelData.atMs)
                            }
                            Label {
                                Layout.fillWidth: true
                                text: modelData.text
                                wrapMode: Text.WordWrap
                            }
                        }
                    }
                }
            }

            // --- Questions -------------------------------------------------
            RowLayout {
                Layout.fillWidth: true
                visible: noteDetail.turns.length > 0
                TextField {
                    id: question
                    Layout.fillWidth: true
                    placeholderText: "Ask about this note"
                    Accessible.name: "Ask about this note"
                    Accessible.role: Accessible.EditableText
                    onAccepted: noteDetail.ask(text)
                }
                PushButton {
                    text: "Ask"
                    enabled: !noteDetail.asking && question.text.trim() !== ""
                    onClicked: noteDetail.ask(question.text)
                }
            }
            BusyIndicator {
                visible: noteDetail.asking
                running: visible
                Accessible.name: "Waiting for the answer"
            }
            Label {
                Layout.fillWidth: true
                visible: text !== ""
                text: noteDetail.answer
                wrapMode: Text.WordWrap
                Accessible.role: Accessible.StaticText
                Accessible.name: text
            }

            // --- The transcript --------------------------------------------
            Label {
                text: "Transcript"
                font.bold: true
                Accessible.role: Accessible.Heading
                Accessible.name: text
            }
            Label {
                visible: noteDetail.turns.length === 0
                text: "No transcript yet."
                opacity: 0.75
            }
            Repeater {
                model: noteDetail.turns
                delegate: RowLayout {
                    required property var modelData
                    Layout.fillWidth: true
                    PushButton {
                        Layout.alignment: Qt.AlignTop
                        flat: true
                        text: modelData.time
                        Accessible.name: "Play from " + modelData.time + ", " + modelData.name
                        onClicked: page.seek(modelData.startMs)
                    }
                    Label {
                        Layout.fillWidth: true
                        text: "<b>" + modelData.name.replace(/&/g, "&amp;").replace(/</g, "&lt;") + "</b>  " + modelData.text.replace(/&/g, "&amp;").replace(/</g, "&lt;")
                        textFormat: Text.StyledText
                        wrapMode: Text.WordWrap
                        Accessible.role: Accessible.StaticText
                        Accessible.name: modelData.name + ": " + modelData.text
                    }
                }
            }

            // --- Export and deletion ---------------------------------------
            Label {
                text: "Export"
                font.bold: true
                Accessible.role: Accessible.Heading
                Accessible.name: text
            }
            TextField {
                id: folder
                Layout.fillWidth: true
                text: noteDetail.exportFolder
                Accessible.name: "Export folder"
                Accessible.role: Accessible.EditableText
            }
            Flow {
                Layout.fillWidth: true
                spacing: 6
                Repeater {
                    model: [["Markdown", "md"], ["SRT", "srt"], ["WebVTT", "vtt"], ["JSON", "json"], ["M4A", "m4a"]]
                    delegate: PushButton {
                        required property var modelData
                        text: modelData[0]
                        Accessible.name: "Export " + modelData[0]
                        enabled: modelData[1] !== "m4a" || noteDetail.audioKept
                        onClicked: noteDetail.exportTo(modelData[1], folder.text)
                    }
                }
            }
            Flow {
                Layout.fillWidth: true
                spacing: 6
                PushButton {
                    text: "Transcribe again"
                    enabled: noteDetail.audioKept
                    onClicked: noteDetail.transcribeAgain()
                }
                PushButton {
                    text: "Delete audio"
                    enabled: noteDetail.audioKept
                    onClicked: { player.stop(); noteDetail.deleteAudio() }
                }
                PushButton {
                    id: deleteNote
                    property bool confirming: false
                    text: confirming ? "Delete this note for good" : "Delete note"
                    onClicked: {
                        if (!confirming) {
                            confirming = true
                            return
                        }
                        player.stop()
                        noteDetail.deleteNote()
                    }
                }
            }
        }
    }
}
