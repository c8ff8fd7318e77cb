#pragma once

#include <QApplication>
#include <QPalette>
#include <memory>
#include <string>
#include <vector>

#include "gui/popup/popup_panel.h"
#include "gui/popup/popup_view.h"
#include "monitor/monitor_fixture.h"

class QAbstractButton;

namespace ostrel::testing {

// The popup panel, offscreen, over a monitor on virtual time, scripted into the states a
// person should see. Shared by the panel's test and the program that writes its pictures.
class PopupScene : public MonitorFixture {
  protected:
    PopupScene();
    // The views go before the monitor they observe, which the base fixture releases.
    void TearDown() override;

    // Storage off, upload on without a token: nowhere to send samples.
    void stoppedWithoutADestination();
    // Collecting, with a sample whose top lists group into applications, and two pins.
    void runningWithGroupsAndPins();
    void minimalUI();
    // The search open, with "co" typed and the machine's matches listed.
    void searchWithResults();

    // Opens the panel (once) and lets the monitor and the panel settle.
    PopupPanel& open();
    void settle();
    PopupModel& model() { return open().view()->model(); }

    // The texts a person sees: labels and buttons shown, top to bottom.
    std::vector<std::string> visibleTexts();
    // The shown button with `text`; fails the test where there is none.
    QAbstractButton* button(const std::string& text);

    // Light or dark, as a desktop theme would set it.
    static void usePalette(bool dark);

    ConfigurationManager configManager{preferences};
    ProcessAggregator aggregator{makeProcessNameSource()};
    std::unique_ptr<PopupPanel> panel;

  private:
    void configure(const PreferenceDictionary& settings);
};

}  // namespace ostrel::testing
