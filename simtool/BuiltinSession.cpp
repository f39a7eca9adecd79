#include "simtool/BuiltinSession.h"

namespace quelto::simtool {

// The same text as scenarios/session.scn, word for word (a test holds the two together).
const std::string& builtinSessionText() {
    static const std::string text =
        R"SCN(# A day with Quelto: the session quelto-sim runs when it is given no scenario.
#
# Ada starts her Mac on a Monday morning. Quelto starts at login with the settings she made
# weeks ago (every app armed, Music excluded, shift as the escape key) and spends the day
# watching her close windows.

clock 2026-03-02 08:58:00 +01:00

config
  # Quelto configuration
  #
  # Edited by the app, and safe to edit by hand.
  # Changes take effect immediately; no restart needed.

  # Master switch. Nothing is ever quit while this is false.
  live = true

  # last-window : quit an app when its last window closes
  # red-dot     : quit an app whenever its red dot is clicked
  mode = last-window

  # Which modifier closes a window without quitting: shift, option, none.
  escape = shift

  # Every app, except the exclusions below.
  arm = *

  # Apps to leave alone, on top of the built-in list.
  exclude = com.apple.Music
end

# What is already open when Quelto starts at login.
app Finder com.apple.finder pid 410
window Finder "Recents" at 80,60 size 900x560
app Mail com.apple.mail pid 432 quits-after 8s
window Mail "Inbox – iCloud" at 120,90 size 1100x700
app Music com.apple.Music pid 455
window Music "Music" at 160,120 size 1000x640
app Terminal com.apple.Terminal pid 470 declines-quit
window Terminal "ada — -zsh — 80×24" at 200,150 size 640x420
front Finder

start
expect log "LIVE — mode last-window — all apps — also excluding: com.apple.Music"
expect log "attaching to 4 foreground apps"

# 09:04 — a quick note in TextEdit. The red dot brings up the save sheet; Ada takes a few
# seconds to name the file, and the close still counts as hers.
at 09:04
launch TextEdit com.apple.TextEdit pid 512
window TextEdit "Untitled" at 240,180 size 600x450 asks-to-save
at 09:06:30
click close TextEdit "Untitled"
wait 9
answer TextEdit "Untitled" save
wait 3
expect journal app "TextEdit" cause "red dot — after a dialog" outcome "quitting" quit yes
expect not running TextEdit

# 09:20 — two PDFs in Preview, closed with ⌘W: the first leaves a window open, the second
# is the last one.
at 09:20
launch Preview com.apple.Preview pid 530
window Preview "Invoice-0314.pdf" at 280,210 size 700x800
window Preview "Boarding pass.pdf" at 320,240 size 700x800
at 09:21:10
close Preview "Boarding pass.pdf"
at 09:21:40
close Preview "Invoice-0314.pdf"
wait 3
expect journal app "Preview" cause "not the red dot (cmd-W / menu / programmatic)" left 0 outcome "quitting" quit yes

# 09:45 — Finder is never quit, whatever the settings say.
at 09:45
click close Finder "Recents"
wait 1
expect journal app "Finder" outcome "always protected" quit no

# 10:10 — the Music window goes, the music keeps playing.
at 10:10
click close Music "Music"
wait 1
expect journal app "Music" outcome "excluded — kept running" quit no
expect running Music

# 10:30 — Safari: Ada wants it to stay open with no window, so she holds Shift.
at 10:28
launch Safari com.apple.Safari pid 561
window Safari "Start Page" at 360,270 size 1000x700
at 10:30
click close Safari "Start Page" shift
wait 1
expect journal app "Safari" outcome "shift held — kept running" quit no
expect running Safari

# 11:00 — a presentation: Ada switches Quelto off by hand in the configuration file…
at 11:00
config set live = false
at 11:12
window Safari "Keynote — Q1 review" at 400,300 size 1000x700
at 11:40
click close Safari "Keynote — Q1 review"
wait 1
expect journal app "Safari" outcome "paused — would have quit" quit no
expect running Safari
# …and back on after it.
at 11:45
config set live = true

# 12:30 — Terminal has a job running and declines to quit; Quelto leaves it alone.
at 12:30
click close Terminal "ada — -zsh — 80×24"
wait 25
expect log "Terminal is still running after 20s — it declined the quit. Left alone."
expect running Terminal

# 13:15 — Option-click on Mail's red dot closes both its windows; Mail takes its time.
at 13:10
window Mail "Re: Thursday" at 440,330 size 700x500
at 13:15
click close Mail "Inbox – iCloud" option
wait 12
expect log "Mail (com.apple.mail)  2 windows closed  ←  red dot"
expect log "Mail quit cleanly"
expect not running Mail

# 15:05 — back to normal: the red dot on Safari's only window quits it.
at 15:02
window Safari "Apple Developer" at 480,360 size 1000x700
at 15:05
click close Safari "Apple Developer"
wait 3
expect journal app "Safari" cause "red dot" outcome "quitting" quit yes
expect not running Safari

# 17:30 — end of the day: a look at the menu-bar menu.
at 17:30
front Finder
menu open
expect menu row "   15:05  Safari — quit" disabled
expect menu row "   13:15  Mail — quit" disabled
expect journal size 10
)SCN";
    return text;
}

const std::string& builtinSessionName() {
    static const std::string name = "session.scn";
    return name;
}

}  // namespace quelto::simtool
