// A host in Vala, by the vapi: valac --pkg quill_tray_manager main.vala
const string ICON =
    "iVBORw0KGgoAAAANSUhEUgAAACwAAAAsAQMAAAAkSshCAAAABlBMVEUAAAAAAAClZ7nPAAAAAnRSTlMA/1uR" +
    "IrUAAABcSURBVHjaY2AgHrD//wei5P//bwBS9v//HwBS9f//PwBS/////8DAwAikfsApZiD1B0Q1yIMpBn4Q" +
    "9Y+BHUT9ASGKKahhUKNhFoGtRXUL1IEw50IdD/UK1GPEAgBJYlbp/OC8hQAAAABJRU5ErkJggg==";
const string ITEMS = """[
  {"id": "open", "title": "Open", "keyEquivalent": "Cmd+O"},
  {"id": "quit", "title": "Quit", "keyEquivalent": "Cmd+Q"}
]""";

MainLoop loop;

void say (string line) {
    stdout.puts (line + "\n");
    stdout.flush ();  // into a pipe as well
}

void on_click () {
    say ("clicked");
}

void on_menu_item (string identifier) {
    say ("chosen: " + identifier);
    if (identifier == "quit") loop.quit ();
}

void main () {
    loop = new MainLoop ();
    QuillTrayManager.set_menu_items_json (ITEMS);
    QuillTrayManager.set_click_callback (on_click);
    QuillTrayManager.set_menu_item_callback (on_menu_item);
    QuillTrayManager.create ();
    QuillTrayManager.set_main_icon (Base64.decode (ICON));
    Unix.signal_add (ProcessSignal.TERM, () => { loop.quit (); return Source.CONTINUE; });
    loop.run ();
}
