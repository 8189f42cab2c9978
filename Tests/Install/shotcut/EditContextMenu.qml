import QtQuick 2.12
// Stands in for the context menu Shotcut registers from C++.
Item {
    property bool readOnly: false
    signal undoTriggered()
    signal redoTriggered()
    signal cutTriggered()
    signal copyTriggered()
    signal pasteTriggered()
    signal deleteTriggered()
    signal clearTriggered()
    signal selectAllTriggered()
    function popup() {}
}
