import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

// A drop-down of {value, title} choices bound to one stored value.
ComboBox {
    id: box
    property string label
    property var current
    signal chosen(var value)
    textRole: "title"
    valueRole: "value"
    Layout.preferredWidth: 260
    Accessible.name: label
    onActivated: chosen(currentValue)

    // The stored value decides what shows, also after another window or a
    // command changed it.
    function sync() { currentIndex = indexOfValue(current) }
    Component.onCompleted: sync()
    onCurrentChanged: sync()
    onModelChanged: Qt.callLater(sync)
}
