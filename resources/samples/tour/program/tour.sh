#!/bin/sh
# Starts the tour: shows the pages of the guide one after another in the desktop's browser.
here=$(dirname "$0")
for page in "$here"/../help/*.html; do
    xdg-open "$page" || exit 1
done
