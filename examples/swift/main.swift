// A host in Swift: an icon in the menu bar with a menu, and a line on standard output for whatever the user does.
import AppKit
import QuillTrayManager

let items = """
  [{"id": "show", "title": "显示主窗口", "keyEquivalent": "Cmd+Shift+K"},
   {"id": "quit", "title": "退出", "keyEquivalent": "Cmd+Q"}]
  """

let application = NSApplication.shared
application.setActivationPolicy(.accessory)

quill_tray_manager_set_menu_items_json(items)
quill_tray_manager_set_click_callback {
  print("clicked")
  quill_tray_manager_start_animation()
}
quill_tray_manager_set_menu_item_callback { identifier in
  let chosen = identifier.map { String(cString: $0) } ?? ""
  print("chosen: \(chosen)")
  if chosen == "quit" { NSApp.terminate(nil) }
}
quill_tray_manager_create()

func hand(_ symbol: String, to take: (UnsafePointer<UInt8>, Int) -> Void) {
  let image = NSImage(systemSymbolName: symbol, accessibilityDescription: nil)
  (image?.tiffRepresentation ?? Data()).withUnsafeBytes { bytes in
    guard let start = bytes.bindMemory(to: UInt8.self).baseAddress else { return }
    take(start, bytes.count)
  }
}

hand("paperplane.fill", to: quill_tray_manager_set_main_icon)
for frame in 0..<60 {
  hand(frame / 5 % 2 == 0 ? "paperplane" : "paperplane.fill", to: quill_tray_manager_add_animation_frame)
}

application.run()
