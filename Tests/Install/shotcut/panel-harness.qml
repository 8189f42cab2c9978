import QtQuick 2.12
import QtQuick.Window 2.12

// Loads ui.qml (copied beside this file) as Shotcut loads a filter's panel, with stand-ins for the
// objects Shotcut hands it. Prints a line for each value the panel sets on the filter ("set NAME VALUE",
// "keyed" when at a position) and for what its sliders show, while it drives the panel as a user
// would: types a value into each slider, resets both, keys the first, and changes the filter under it.
Window {
    width: 600
    height: 200
    visible: true

    QtObject {
        id: filter
        property bool isNew: true
        property int animateIn: 0
        property int animateOut: 0
        property int duration: 100
        property var presets: []
        property bool blockSignals: false
        property var values: ({})
        signal changed()
        signal inChanged()
        signal outChanged()
        signal propertyChanged(string name)
        function set(name, value, position) {
            values[name] = value;
            console.log("set", name, value, position === undefined ? "" : "keyed");
        }
        function getDouble(name, position) { return values[name] === undefined ? 0 : values[name]; }
        function keyframeCount(name) { return 0; }
        function resetProperty(name) { delete values[name]; }
        function clearSimpleAnimation(name) {}
        function savePreset(parameters, name) { return 0; }
        function loadPresets() {}
    }
    QtObject {
        id: producer
        property int position: 0
    }
    QtObject {
        id: metadata
        property var keyframes: ({ enabled: true })
    }
    QtObject {
        id: application
        property int dialogModality: Qt.ApplicationModal
        function showStatusMessage(text) {}
    }

    // The panel's controls of a kind, in the order they were made.
    function find(item, test, found) {
        if (test(item))
            found.push(item);
        for (var i = 0; i < item.children.length; i++)
            find(item.children[i], test, found);
        return found;
    }

    function drive(item) {
        var spinners = find(item, function(i) { return i.decimals !== undefined && i.suffix !== undefined && i.ratio !== undefined; }, []);
        var resets = find(item, function(i) { return typeof i.clicked === 'function' && i.icon !== undefined && i.icon.name === 'edit-undo'; }, []);
        var keys = find(item, function(i) { return typeof i.toggled === 'function' && i.icon !== undefined && i.icon.name === 'chronometer'; }, []);
        for (var n = 0; n < spinners.length; n++)
            console.log("shown", n, spinners[n].value, spinners[n].minimumValue, spinners[n].maximumValue, spinners[n].decimals, "[" + spinners[n].suffix + "]");
        console.log("typed");
        spinners[0].value = 90;
        spinners[1].value = 1.37;
        console.log("reset");
        resets[0].clicked();
        resets[1].clicked();
        console.log("keyed");
        keys[0].checked = true;
        keys[0].toggled();
        spinners[0].value = 45;
        console.log("from the filter");
        filter.values['0'] = 0.75;
        filter.values['1'] = 0.25;
        filter.changed();
        for (n = 0; n < spinners.length; n++)
            console.log("shown", n, spinners[n].value);
    }

    // Quitting works once the event loop runs.
    Timer {
        id: quitter
        interval: 0
        onTriggered: Qt.quit()
    }

    Loader {
        id: loader
        anchors.fill: parent
        source: 'ui.qml'
        onStatusChanged: if (status === Loader.Error) quitter.start()
        // A failing step ends the run too, without "done".
        onLoaded: {
            try {
                drive(item);
                console.log("done");
            } finally {
                quitter.start();
            }
        }
    }
}
