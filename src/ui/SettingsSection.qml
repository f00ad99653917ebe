import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

// Settings: shortcuts, writing style, language, model, recording, helpers,
// start at login and the account.
SectionPage {
    id: page
    heading: "Settings"
    Component.onCompleted: account.refresh()

    function showAccount() {
        accountBox.forceActiveFocus()
    }

    Label {
        Layout.fillWidth: true
        visible: text !== ""
        text: settings.message
        color: "#c62828"
        wrapMode: Text.WordWrap
        Accessible.role: Accessible.AlertMessage
    }

    GroupBox {
        title: "Shortcuts"
        Layout.fillWidth: true
        GridLayout {
            anchors.left: parent.left
            anchors.right: parent.right
            columns: 3
            columnSpacing: 12
            Label { text: "Dictation"; Layout.preferredWidth: 160 }
            PushButton {
                id: dictationShortcutButton
                text: shortcuts.recording === "dictation" ? "Press shortcut…" : shortcuts.dictationShortcut
                Accessible.name: "Dictation shortcut"
                Accessible.description: "Press to record a new shortcut for starting and stopping dictation"
                onClicked: shortcuts.recording === "dictation" ? shortcuts.stop() : shortcuts.start("dictation")
            }
            Label {
                Layout.fillWidth: true
                wrapMode: Text.WordWrap
                text: shortcuts.recording === "dictation" ? shortcuts.captureMessage : ""
            }
            Label {
                Layout.columnSpan: 3
                Layout.fillWidth: true
                visible: text !== ""
                text: shortcuts.dictationError
                color: "#c62828"
                wrapMode: Text.WordWrap
                Accessible.role: Accessible.AlertMessage
                Accessible.name: text
            }
            Label { text: "Notes recording" }
            PushButton {
                text: shortcuts.recording === "notes" ? "Press shortcut…" : (shortcuts.notesShortcut !== "" ? shortcuts.notesShortcut : "Record shortcut")
                Accessible.name: "Notes shortcut"
                Accessible.description: "Press to record a new shortcut for starting and stopping a Notes recording"
                onClicked: shortcuts.recording === "notes" ? shortcuts.stop() : shortcuts.start("notes")
            }
            Label {
                Layout.fillWidth: true
                wrapMode: Text.WordWrap
                text: shortcuts.recording === "notes" ? shortcuts.captureMessage : ""
            }
            Label {
                Layout.columnSpan: 3
                Layout.fillWidth: true
                visible: text !== ""
                text: shortcuts.notesError
                color: "#c62828"
                wrapMode: Text.WordWrap
                Accessible.role: Accessible.AlertMessage
                Accessible.name: text
            }
        }
    }

    GroupBox {
        title: "Writing style"
        Layout.fillWidth: true
        GridLayout {
            anchors.left: parent.left
            anchors.right: parent.right
            columns: 2
            columnSpacing: 12
            Label { text: "Everywhere"; Layout.preferredWidth: 160 }
            ChoiceBox {
                id: generalStyle
                label: "Writing style"
                model: settings.styles
                current: settings.style
                onChosen: function (value) { settings.style = value }
            }
            Label {
                Layout.columnSpan: 2
                Layout.fillWidth: true
                wrapMode: Text.WordWrap
                opacity: 0.8
                text: generalStyle.currentIndex >= 0 ? settings.styles[generalStyle.currentIndex].detail : ""
            }
            Repeater {
                model: settings.surfaces
                delegate: RowLayout {
                    required property var modelData
                    Layout.columnSpan: 2
                    Label { text: "In " + modelData.title; Layout.preferredWidth: 160 }
                    ChoiceBox {
                        label: modelData.title + " style"
                        model: [{ value: "", title: "Same as everywhere" }].concat(settings.styles)
                        current: { settings.style; return settings.surfaceStyle(modelData.value) }
                        onChosen: function (value) { settings.setSurfaceStyle(modelData.value, value) }
                    }
                }
            }
        }
    }

    GroupBox {
        title: "Transcription"
        Layout.fillWidth: true
        GridLayout {
            anchors.left: parent.left
            anchors.right: parent.right
            columns: 2
            columnSpacing: 12
            Label { text: "Language"; Layout.preferredWidth: 160 }
            ChoiceBox {
                label: "Language"
                model: settings.languages
                current: settings.language
                onChosen: function (value) { settings.language = value }
            }
            Label { text: "Model" }
            ChoiceBox {
                label: "Model"
                model: settings.models
                current: settings.model
                onChosen: function (value) { settings.model = value }
            }
            ToggleCheck {
                Layout.columnSpan: 2
                text: "Fall back to another model when the chosen one fails"
                checked: settings.allowFallback
                onToggled: settings.allowFallback = checked
            }
            // Groq with the user's own key.
            Label {
                visible: settings.model.indexOf("whisper") === 0
                text: "Groq API key"
            }
            RowLayout {
                visible: settings.model.indexOf("whisper") === 0
                TextField {
                    id: groqKey
                    Layout.fillWidth: true
                    echoMode: TextInput.Password
                    placeholderText: account.groqKeySaved ? "Saved in the system keyring" : "gsk_…"
                    Accessible.name: "Groq API key"
                    Accessible.role: Accessible.EditableText
                }
                PushButton { text: "Save key"; onClicked: { account.saveGroqKey(groqKey.text); groqKey.text = "" } }
                PushButton { text: "Remove key"; visible: account.groqKeySaved; onClicked: account.removeGroqKey() }
            }
            Label {
                Layout.columnSpan: 2
                visible: settings.model.indexOf("whisper") === 0 && text !== ""
                text: account.groqMessage
                wrapMode: Text.WordWrap
                Layout.fillWidth: true
            }
            // Qwen on this computer.
            Label {
                visible: settings.model === "qwen3-asr-1.7b"
                text: "Qwen on this computer"
            }
            ColumnLayout {
                visible: settings.model === "qwen3-asr-1.7b"
                Layout.fillWidth: true
                Label {
                    text: account.qwenInstalled ? "Installed." : "Not installed. The installation downloads several gigabytes."
                    visible: !account.qwenInstalling
                }
                RowLayout {
                    PushButton {
                        visible: !account.qwenInstalled && !account.qwenInstalling
                        text: "Install Qwen"
                        onClicked: account.installQwen()
                    }
                    PushButton {
                        visible: account.qwenInstalling
                        text: "Cancel installation"
                        onClicked: account.cancelQwenInstall()
                    }
                }
                ProgressBar {
                    Layout.fillWidth: true
                    visible: account.qwenInstalling
                    value: account.qwenFraction
                    indeterminate: account.qwenFraction === 0
                    Accessible.name: "Qwen installation progress"
                }
                Label {
                    Layout.fillWidth: true
                    visible: text !== ""
                    text: account.qwenProgress
                    wrapMode: Text.WordWrap
                }
            }
            Label { text: "Recording limit" }
            ChoiceBox {
                label: "Recording limit"
                model: settings.durations
                current: settings.recordingMinutes
                onChosen: function (value) { settings.recordingMinutes = value }
            }
        }
    }

    GroupBox {
        title: "Helpers"
        Layout.fillWidth: true
        ColumnLayout {
            anchors.left: parent.left
            anchors.right: parent.right
            ToggleSwitch {
                text: "Show a microphone button beside text fields"
                checked: dictation.fieldMicrophoneEnabled && dictation.fieldMicrophoneOffered
                enabled: dictation.fieldMicrophoneOffered
                onToggled: dictation.fieldMicrophoneEnabled = checked
            }
            Label {
                visible: !dictation.fieldMicrophoneOffered
                Layout.fillWidth: true
                wrapMode: Text.Wrap
                opacity: 0.7
                text: "Wayland does not tell applications where a text field is on the screen, so the button cannot sit beside one. Use the shortcut."
            }
            ToggleSwitch {
                text: "Use the visible conversation as context"
                checked: settings.contextAssist
                onToggled: settings.contextAssist = checked
            }
            ToggleSwitch {
                text: "Compose replies"
                checked: settings.replyAssist
                onToggled: settings.replyAssist = checked
                Accessible.description: "Say “Tell them Tuesday works” to compose a reply. Exact and AI Prompt keep the command literal."
            }
            Label {
                Layout.fillWidth: true
                leftPadding: 8
                opacity: 0.8
                wrapMode: Text.WordWrap
                text: "Say “Tell them Tuesday works” to compose a reply. Exact and AI Prompt keep the command literal."
            }
            ToggleSwitch {
                text: "Start at login"
                checked: settings.launchAtLogin
                onToggled: settings.launchAtLogin = checked
            }
        }
    }

    GroupBox {
        id: accountBox
        title: "Account"
        Layout.fillWidth: true
        focusPolicy: Qt.StrongFocus
        Accessible.name: "Account"
        ColumnLayout {
            anchors.left: parent.left
            anchors.right: parent.right
            spacing: 8
            Label { text: account.accountState; Layout.fillWidth: true; wrapMode: Text.WordWrap; Accessible.role: Accessible.StaticText }
            RowLayout {
                PushButton {
                    visible: !account.signedIn && !account.signingIn
                    text: "Sign in with your browser"
                    onClicked: account.signInWithBrowser()
                }
                PushButton {
                    visible: account.signingIn
                    text: "Cancel sign-in"
                    onClicked: account.cancelSignIn()
                }
                PushButton {
                    visible: account.locked
                    text: "Unlock your saved sign-in"
                    onClicked: account.unlock()
                }
                PushButton {
                    visible: account.signedIn || account.locked
                    text: "Sign out"
                    onClicked: account.signOut()
                }
            }
            RowLayout {
                visible: !account.signedIn
                TextField {
                    id: accessCode
                    Layout.fillWidth: true
                    placeholderText: "Access code, starting with pvb_"
                    Accessible.name: "Access code"
                    Accessible.role: Accessible.EditableText
                    onAccepted: { account.enterAccessCode(text); text = "" }
                }
                PushButton { text: "Use code"; onClicked: { account.enterAccessCode(accessCode.text); accessCode.text = "" } }
            }
            Label {
                Layout.fillWidth: true
                visible: text !== ""
                text: account.accountMessage
                wrapMode: Text.WordWrap
                Accessible.role: Accessible.StaticText
            }
            RowLayout {
                PushButton {
                    text: "Check connection"
                    onClicked: dictation.checkTranscriptionStatus()
                }
                Label { text: dictation.transcriptionCheckTitle; Layout.fillWidth: true; wrapMode: Text.WordWrap }
            }
            RowLayout {
                PushButton {
                    text: dictation.dictionaryTestRecording ? "Stop test" : "Test your Words"
                    Accessible.description: "Records a few words and shows how they are transcribed with your Words"
                    onClicked: dictation.toggleDictionaryTest()
                }
                Label { text: dictation.dictionaryTestText; Layout.fillWidth: true; wrapMode: Text.WordWrap }
            }
        }
    }
}
