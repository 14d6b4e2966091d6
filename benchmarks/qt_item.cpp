// The same item by Qt's QSystemTrayIcon.
#include <QAction>
#include <QApplication>
#include <QFile>
#include <QIcon>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMenu>
#include <QSocketNotifier>
#include <QSystemTrayIcon>
#include <QTimer>
#include <array>

#include "item.h"

namespace {

class Item {
 public:
  explicit Item(char** files) : input_(STDIN_FILENO, QSocketNotifier::Read) {
    for (std::size_t i = 0; i < kIcons; ++i) {
      for (const char* const file : {files[i], files[kIcons + i]})
        icons_[i].addPixmap(QPixmap(QString::fromUtf8(file)));
    }
    first_.addAction(QStringLiteral("Quit"));
    item_.setContextMenu(&first_);
    item_.setIcon(icons_[0]);
    item_.show();
    timer_.setTimerType(Qt::PreciseTimer);
    timer_.setInterval(kTick);
    QObject::connect(&timer_, &QTimer::timeout, [this] { tick(); });
    QObject::connect(&input_, &QSocketNotifier::activated, [this] { obey(readCommand()); });
  }

 private:
  void obey(const Command& command) {
    if (isNamed(&command, "change")) {
      left_ = static_cast<std::size_t>(std::atoi(command.argument));
      timer_.start();
    }
    if (isNamed(&command, "menu")) {
      showMenu(QString::fromUtf8(command.argument));
      QTimer::singleShot(0, done);
    }
  }

  void tick() {
    item_.setIcon(icons_[--left_ % kIcons]);
    if (left_ > 0) return;
    timer_.stop();
    done();
  }

  void showMenu(const QString& path) {
    auto* const menu = new QMenu;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) std::exit(2);
    const auto items = QJsonDocument::fromJson(file.readAll()).array();
    for (const auto& value : items) {
      const auto item = value.toObject();
      auto* const action = menu->addAction(item[QLatin1String("title")].toString());
      action->setEnabled(item[QLatin1String("enabled")].toBool());
      if (item.contains(QLatin1String("keyEquivalent")))
        action->setShortcut(QKeySequence(QStringLiteral("Ctrl+Shift+K")));
      QObject::connect(action, &QAction::triggered, [id = item[QLatin1String("id")].toString()] { qInfo() << id; });
    }
    item_.setContextMenu(menu);
  }

  std::array<QIcon, kIcons> icons_;
  QMenu first_;
  QSystemTrayIcon item_;
  QTimer timer_;
  QSocketNotifier input_;
  std::size_t left_ = 0;
};

}  // namespace

int main(int count, char** arguments) {
  if (count != 1 + 2 * kIcons) return 2;
  QApplication application(count, arguments);
  QApplication::setQuitOnLastWindowClosed(false);
  const Item item(arguments + 1);
  return QApplication::exec();
}
