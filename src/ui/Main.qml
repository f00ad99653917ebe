import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

// The main window: a list of sections on the left, the chosen one on the
// right. Sections load the first time they are shown, so the window opens
// quickly and a copy living in the tray costs nothing until it is wanted.
ApplicationWindow {
    id: window
    width: 920
    height: 640
    minimumWidth: 680
    minimumHeight: 460
    visible: false
    title: "Parlevo"
    color: palette.window

    // "home", "notes", "words", "history", "settings".
    property string section: "home"
    // Set as the application quits: the sections let go of the models first.
    property bool closing: false
    readonly property var sectionKeys: ["home", "notes", "words", "history", "settings"]

    function showSection(name) {
        var index = sectionKeys.indexOf(name === "account" ? "settings" : name)
        if (index >= 0) {
            section = sectionKeys[index]
            sectionList.currentIndex = index
        }
        if (name === "account")
            accountRequested()
    }
    signal accountRequested()

    onVisibleChanged: if (visible) dictation.refreshSetup()

    Repeater {
        model: window.sectionKeys.length
        delegate: Item {
            required property int index
            Shortcut {
                sequence: "Ctrl+" + (index + 1)
                onActivated: window.showSection(window.sectionKeys[index])
            }
        }
    }
    Shortcut {
        sequence: StandardKey.Close
        onActivated: window.close()
    }

    RowLayout {
        anchors.fill: parent
        spacing: 0

        ListView {
            id: sectionList
            Layout.preferredWidth: 190
            Layout.fillHeight: true
            model: appSections
            currentIndex: 0
            focus: true
            keyNavigationEnabled: true
            Accessible.role: Accessible.PageTabList
            Accessible.name: "Sections"
            onCurrentIndexChanged: window.section = window.sectionKeys[currentIndex]
            delegate: TabButton {
                required property int index
                required property string modelData
                width: ListView.view.width
                text: modelData
                checkable: true
                checked: ListView.isCurrentItem
                font.bold: ListView.isCurrentItem
                Accessible.name: modelData
                // Tabs are chosen by focus too: that is how a screen reader
                // and the arrow keys pick one.
                onActiveFocusChanged: if (activeFocus) sectionList.currentIndex = index
                onClicked: {
                    sectionList.currentIndex = index
                    sectionList.forceActiveFocus()
                }
            }
        }

        Rectangle {
            Layout.fillHeight: true
            Layout.preferredWidth: 1
            color: palette.mid
        }

        StackLayout {
            id: pages
            Layout.fillWidth: true
            Layout.fillHeight: true
            currentIndex: window.sectionKeys.indexOf(window.section)

            Loader {
                active: !window.closing && ((window.visible && pages.currentIndex === 0) || item !== null)
                source: "HomeSection.qml"
                onLoaded: item.openSection.connect(window.showSection)
            }
            Loader {
                active: !window.closing && ((window.visible && pages.currentIndex === 1) || item !== null)
                source: "NotesSection.qml"
            }
            Loader {
                active: !window.closing && ((window.visible && pages.currentIndex === 2) || item !== null)
                source: "WordsSection.qml"
            }
            Loader {
                active: !window.closing && ((window.visible && pages.currentIndex === 3) || item !== null)
                source: "HistorySection.qml"
            }
            Loader {
                id: settingsLoader
                active: !window.closing && ((window.visible && pages.currentIndex === 4) || item !== null)
                source: "SettingsSection.qml"
            }
        }
    }

    onAccountRequested: if (settingsLoader.item) settingsLoader.item.showAccount()
}
