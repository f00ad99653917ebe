import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

// Home: what Parlevo is doing, what is left to set up, and the last text.
SectionPage {
    id: home
    heading: "Home"
    signal openSection(string name)

    // What stands between the user and a working dictation, each with its fix.
    readonly property var setupItems: {
        var items = []
        if (!dictation.microphoneGranted)
            items.push({ title: "Microphone", detail: "Allow microphone access in the desktop's sound settings, then try again.", fix: "", section: "" })
        if (!dictation.accessibilityGranted)
            items.push({ title: "Accessibility", detail: dictation.setupMessage, fix: "Turn on accessibility", section: "" })
        if (dictation.hotKeyError !== "")
            items.push({ title: "Shortcut", detail: dictation.hotKeyError, fix: "Choose a shortcut", section: "settings" })
        if (dictation.modelProblem !== "")
            items.push({ title: "Speech model", detail: dictation.modelProblem, fix: "Open Settings", section: dictation.modelSetupSection })
        return items
    }

    Label {
        text: dictation.statusTitle
        font.pixelSize: 18
        Accessible.role: Accessible.StaticText
        Accessible.name: "Status: " + text
    }
    Label {
        Layout.fillWidth: true
        visible: text !== ""
        text: dictation.phaseMessage
        wrapMode: Text.WordWrap
    }

    RowLayout {
        spacing: 8
        PushButton {
            text: dictation.recording ? "Stop dictation" : "Start dictation"
            highlighted: true
            onClicked: dictation.toggle(true)
        }
        PushButton {
            text: "Cancel"
            visible: dictation.recording || dictation.phase === "transcribing"
            onClicked: dictation.cancel()
        }
        Label {
            visible: dictation.recording
            text: dictation.elapsed
            font.family: "monospace"
            Accessible.name: "Elapsed " + text
        }
    }
    ProgressBar {
        Layout.fillWidth: true
        visible: dictation.recording
        from: 0
        to: 1
        value: dictation.level
        Accessible.name: "Microphone level"
    }
    Label {
        text: "Shortcut: " + dictation.shortcutText + (dictation.notesShortcutText !== "" ? "    Notes: " + dictation.notesShortcutText : "")
        Accessible.name: text
    }

    GroupBox {
        Layout.fillWidth: true
        title: home.setupItems.length === 0 ? "Ready to dictate" : "To set up"
        Accessible.name: title
        ColumnLayout {
            anchors.left: parent.left
            anchors.right: parent.right
            spacing: 10
            Label {
                visible: home.setupItems.length === 0
                Layout.fillWidth: true
                wrapMode: Text.WordWrap
                text: "Everything is set up. Press " + dictation.shortcutText + " in any text field, speak, and press it again. Model: " + dictation.modelTitle + "."
            }
            Repeater {
                model: home.setupItems
                delegate: RowLayout {
                    required property var modelData
                    Layout.fillWidth: true
                    spacing: 12
                    ColumnLayout {
                        Layout.fillWidth: true
                        Label { text: modelData.title; font.bold: true }
                        Label {
                            Layout.fillWidth: true
                            text: modelData.detail
                            wrapMode: Text.WordWrap
                        }
                    }
                    PushButton {
                        visible: modelData.fix !== ""
                        text: modelData.fix
                        Accessible.description: modelData.detail
                        onClicked: {
                            if (modelData.section !== "")
                                home.openSection(modelData.section)
                            else
                                settings.enableAccessibility()
                        }
                    }
                }
            }
        }
    }

    Label {
        Layout.fillWidth: true
        visible: text !== ""
        text: settings.message
        wrapMode: Text.WordWrap
        Accessible.role: Accessible.StaticText
    }

    GroupBox {
        Layout.fillWidth: true
        title: "Last dictation"
        visible: dictation.lastTranscript !== ""
        ColumnLayout {
            anchors.left: parent.left
            anchors.right: parent.right
            TextArea {
                Layout.fillWidth: true
                readOnly: true
                wrapMode: TextEdit.Wrap
                text: dictation.lastTranscript
                selectByMouse: true
                Accessible.name: "Last transcript"
            }
            PushButton {
                text: "Copy"
                Accessible.name: "Copy last transcript"
                onClicked: dictation.copyLastTranscript()
            }
        }
    }
}
