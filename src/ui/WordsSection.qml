import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

// Words: the spellings Parlevo must keep, the snippets it expands, and the
// words it proposes from recent dictations.
Pane {
    id: page
    padding: 20
    implicitWidth: 640
    implicitHeight: 480
    Component.onCompleted: suggestions.refresh()
    Accessible.name: "Words"

    ColumnLayout {
    anchors.fill: parent
    spacing: 10
        Label {
            text: "Words"
            font.pixelSize: 22
            font.bold: true
            Accessible.role: Accessible.Heading
        }
        TabBar {
            id: tabs
            Layout.fillWidth: true
            Accessible.name: "Words lists"
            TabButton { text: "Dictionary"; onActiveFocusChanged: if (activeFocus) tabs.currentIndex = 0 }
            TabButton { text: "Snippets"; onActiveFocusChanged: if (activeFocus) tabs.currentIndex = 1 }
            TabButton {
                text: suggestions.count > 0 ? "Suggestions (" + suggestions.count + ")" : "Suggestions"
                Accessible.name: "Suggestions"
                onActiveFocusChanged: if (activeFocus) tabs.currentIndex = 2
            }
        }

    StackLayout {
        Layout.fillWidth: true
        Layout.fillHeight: true
        currentIndex: tabs.currentIndex

        // Dictionary
        ColumnLayout {
            spacing: 10
            property string editing: ""
            id: dictionaryTab

            function startEdit(id, spelling, forms) {
                editing = id
                spellingField.text = spelling
                formsField.text = forms
                spellingField.forceActiveFocus()
            }
            function finishEdit() {
                if (dictionary.save(spellingField.text, formsField.text, editing)) {
                    editing = ""
                    spellingField.text = ""
                    formsField.text = ""
                }
            }

            GridLayout {
                Layout.fillWidth: true
                columns: 3
                TextField {
                    id: spellingField
                    Layout.fillWidth: true
                    Layout.preferredWidth: 200
                    placeholderText: "Spelling, for example Kubernetes"
                    Accessible.name: "Spelling"
                    Accessible.role: Accessible.EditableText
                    onAccepted: dictionaryTab.finishEdit()
                }
                TextField {
                    id: formsField
                    Layout.fillWidth: true
                    Layout.preferredWidth: 300
                    placeholderText: "Heard as (separate with commas), for example cooper netties"
                    Accessible.name: "Spoken forms"
                    Accessible.role: Accessible.EditableText
                    onAccepted: dictionaryTab.finishEdit()
                }
                RowLayout {
                    PushButton {
                        text: dictionaryTab.editing === "" ? "Add word" : "Save word"
                        enabled: spellingField.text.trim() !== ""
                        onClicked: dictionaryTab.finishEdit()
                    }
                    PushButton {
                        visible: dictionaryTab.editing !== ""
                        text: "Cancel edit"
                        onClicked: { dictionaryTab.editing = ""; spellingField.text = ""; formsField.text = "" }
                    }
                }
            }
            RowLayout {
                Layout.fillWidth: true
                TextField {
                    Layout.fillWidth: true
                    placeholderText: "Search Words"
                    Accessible.name: "Search Words"
                    Accessible.role: Accessible.EditableText
                    onTextChanged: dictionary.filter = text
                    Keys.onDownPressed: dictionaryList.forceActiveFocus()
                }
                PushButton { text: "Import…"; Accessible.name: "Import words"; onClicked: wordsTransfer.chooseImport("words") }
                PushButton { text: "Export…"; Accessible.name: "Export words"; onClicked: wordsTransfer.chooseExport("words") }
            }
            RowLayout {
                visible: wordsTransfer.importing === "words"
                BusyIndicator { running: parent.visible; implicitWidth: 28; implicitHeight: 28; Accessible.name: "Importing" }
                PushButton { text: "Cancel import"; onClicked: wordsTransfer.cancelImport() }
            }
            Label {
                Layout.fillWidth: true
                visible: text !== ""
                text: dictionary.message
                wrapMode: Text.WordWrap
                Accessible.role: Accessible.StaticText
            }
            Label {
                visible: dictionary.count === 0
                text: dictionary.totalCount === 0 ? "Add names and terms Parlevo should spell your way." : "No word matches “" + dictionary.filter + "”."
            }
            ListView {
                id: dictionaryList
                Layout.fillWidth: true
                Layout.fillHeight: true
                clip: true
                model: dictionary
                keyNavigationEnabled: true
                reuseItems: true
                Accessible.role: Accessible.List
                Accessible.name: "Dictionary"
                ScrollBar.vertical: ScrollBar {}
                delegate: ItemDelegate {
                    id: wordRow
                    required property string entryId
                    required property string spelling
                    required property string formsText
                    width: ListView.view.width - 12
                    highlighted: ListView.isCurrentItem
                    Accessible.role: Accessible.ListItem
                    Accessible.name: formsText === "" ? spelling : spelling + ", heard as " + formsText
                    contentItem: RowLayout {
                        Label { text: wordRow.spelling; font.bold: true; Layout.preferredWidth: 200; elide: Text.ElideRight }
                        Label { text: wordRow.formsText; Layout.fillWidth: true; elide: Text.ElideRight; opacity: 0.8 }
                        PushButton {
                            text: "Edit"
                            Accessible.name: "Edit " + wordRow.spelling
                            onClicked: dictionaryTab.startEdit(wordRow.entryId, wordRow.spelling, wordRow.formsText)
                        }
                        PushButton {
                            text: "Remove"
                            Accessible.name: "Remove " + wordRow.spelling
                            onClicked: dictionary.remove(wordRow.entryId)
                        }
                    }
                }
            }
        }

        // Snippets
        ColumnLayout {
            id: snippetTab
            spacing: 10
            property string editing: ""
            function finishEdit() {
                if (snippets.save(triggerField.text, expansionField.text, editing)) {
                    editing = ""
                    triggerField.text = ""
                    expansionField.text = ""
                }
            }
            GridLayout {
                Layout.fillWidth: true
                columns: 2
                TextField {
                    id: triggerField
                    Layout.fillWidth: true
                    placeholderText: "When I say, for example my address"
                    Accessible.name: "Trigger"
                    Accessible.role: Accessible.EditableText
                }
                RowLayout {
                    PushButton {
                        text: snippetTab.editing === "" ? "Add snippet" : "Save snippet"
                        enabled: triggerField.text.trim() !== "" && expansionField.text.trim() !== ""
                        onClicked: snippetTab.finishEdit()
                    }
                    PushButton {
                        visible: snippetTab.editing !== ""
                        text: "Cancel edit"
                        onClicked: { snippetTab.editing = ""; triggerField.text = ""; expansionField.text = "" }
                    }
                }
                TextArea {
                    id: expansionField
                    Layout.fillWidth: true
                    Layout.columnSpan: 2
                    Layout.preferredHeight: 70
                    placeholderText: "Write instead"
                    wrapMode: TextEdit.Wrap
                    Accessible.name: "Expansion"
                    KeyNavigation.priority: KeyNavigation.BeforeItem
                    KeyNavigation.tab: snippetSearch
                }
            }
            RowLayout {
                Layout.fillWidth: true
                TextField {
                    id: snippetSearch
                    Layout.fillWidth: true
                    placeholderText: "Search snippets"
                    Accessible.name: "Search snippets"
                    Accessible.role: Accessible.EditableText
                    onTextChanged: snippets.filter = text
                }
                PushButton { text: "Import…"; Accessible.name: "Import snippets"; onClicked: wordsTransfer.chooseImport("snippets") }
                PushButton { text: "Export…"; Accessible.name: "Export snippets"; onClicked: wordsTransfer.chooseExport("snippets") }
            }
            RowLayout {
                visible: wordsTransfer.importing === "snippets"
                BusyIndicator { running: parent.visible; implicitWidth: 28; implicitHeight: 28; Accessible.name: "Importing" }
                PushButton { text: "Cancel import"; onClicked: wordsTransfer.cancelImport() }
            }
            Label {
                Layout.fillWidth: true
                visible: text !== ""
                text: snippets.message
                wrapMode: Text.WordWrap
            }
            ListView {
                Layout.fillWidth: true
                Layout.fillHeight: true
                clip: true
                model: snippets
                keyNavigationEnabled: true
                Accessible.role: Accessible.List
                Accessible.name: "Snippets"
                ScrollBar.vertical: ScrollBar {}
                delegate: ItemDelegate {
                    id: snippetRow
                    required property string entryId
                    required property string trigger
                    required property string expansion
                    width: ListView.view.width - 12
                    highlighted: ListView.isCurrentItem
                    Accessible.role: Accessible.ListItem
                    Accessible.name: trigger + ": " + expansion
                    contentItem: RowLayout {
                        Label { text: snippetRow.trigger; font.bold: true; Layout.preferredWidth: 200; elide: Text.ElideRight }
                        Label { text: snippetRow.expansion; Layout.fillWidth: true; elide: Text.ElideRight; maximumLineCount: 1; opacity: 0.8 }
                        PushButton {
                            text: "Edit"
                            Accessible.name: "Edit snippet " + snippetRow.trigger
                            onClicked: { snippetTab.editing = snippetRow.entryId; triggerField.text = snippetRow.trigger; expansionField.text = snippetRow.expansion }
                        }
                        PushButton {
                            text: "Remove"
                            Accessible.name: "Remove snippet " + snippetRow.trigger
                            onClicked: snippets.remove(snippetRow.entryId)
                        }
                    }
                }
            }
        }

        // Suggestions
        ColumnLayout {
            spacing: 10
            Label {
                Layout.fillWidth: true
                wrapMode: Text.WordWrap
                text: suggestions.count === 0
                      ? "No suggestions yet. Names and terms that come up in two or more dictations will appear here."
                      : "Names and terms from your recent dictations that are not in your Words yet."
            }
            Label {
                Layout.fillWidth: true
                visible: text !== ""
                text: suggestions.message
                wrapMode: Text.WordWrap
            }
            ListView {
                Layout.fillWidth: true
                Layout.fillHeight: true
                clip: true
                model: suggestions
                keyNavigationEnabled: true
                Accessible.role: Accessible.List
                Accessible.name: "Suggestions"
                delegate: ItemDelegate {
                    id: suggestionRow
                    required property string word
                    required property int dictations
                    width: ListView.view.width - 12
                    Accessible.role: Accessible.ListItem
                    Accessible.name: word + ", seen in " + dictations + " dictations"
                    contentItem: RowLayout {
                        Label { text: suggestionRow.word; font.bold: true; Layout.fillWidth: true }
                        Label { text: "seen in " + suggestionRow.dictations + " dictations"; opacity: 0.75 }
                        PushButton { text: "Add"; Accessible.name: "Add " + suggestionRow.word; onClicked: suggestions.accept(suggestionRow.word) }
                        PushButton { text: "Dismiss"; Accessible.name: "Dismiss " + suggestionRow.word; onClicked: suggestions.dismiss(suggestionRow.word) }
                    }
                }
            }
        }
    }
}
}
