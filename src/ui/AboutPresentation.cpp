#include "ui/AboutPresentation.h"

namespace zolvex {

namespace {

constexpr std::string_view sparkleLicence =
    "Copyright (c) 2006-2014 Andy Matuschak\n"
    "Copyright (c) 2013-2014 Kornel Lesinski\n"
    "Copyright (c) 2014 Petroules Corporation, Sparkle Project contributors\n"
    "\n"
    "Permission is hereby granted, free of charge, to any person obtaining a copy of this software and "
    "associated documentation files (the \"Software\"), to deal in the Software without restriction, "
    "including without limitation the rights to use, copy, modify, merge, publish, distribute, "
    "sublicense, and/or sell copies of the Software, and to permit persons to whom the Software is "
    "furnished to do so, subject to the following conditions:\n"
    "\n"
    "The above copyright notice and this permission notice shall be included in all copies or substantial "
    "portions of the Software.\n"
    "\n"
    "THE SOFTWARE IS PROVIDED \"AS IS\", WITHOUT WARRANTY OF ANY KIND, EXPRESS OR IMPLIED, INCLUDING BUT "
    "NOT LIMITED TO THE WARRANTIES OF MERCHANTABILITY, FITNESS FOR A PARTICULAR PURPOSE AND "
    "NONINFRINGEMENT. IN NO EVENT SHALL THE AUTHORS OR COPYRIGHT HOLDERS BE LIABLE FOR ANY CLAIM, DAMAGES "
    "OR OTHER LIABILITY, WHETHER IN AN ACTION OF CONTRACT, TORT OR OTHERWISE, ARISING FROM, OUT OF OR IN "
    "CONNECTION WITH THE SOFTWARE OR THE USE OR OTHER DEALINGS IN THE SOFTWARE.\n";

}  // namespace

AboutPresentation presentAbout(bool canCheckForUpdates) {
  using enum AboutAction;
  return {.buttons = {{
              {"Check for Updates", checkForUpdates, Colour::accent, true, canCheckForUpdates},
              // One page answers all three.
              {"Help Center", openHelp},
              {"Privacy Policy", openHelp},
              {"Terms of Service", openHelp},
              {"Acknowledgements", showAcknowledgements},
          }}};
}

AcknowledgementsPresentation presentAcknowledgements() {
  return {.licence = sparkleLicence};
}

}  // namespace zolvex
