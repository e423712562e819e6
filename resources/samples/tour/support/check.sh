#!/bin/sh
# Tells whether the machine can show the pages.
command -v xdg-open >/dev/null || { echo "no browser helper found"; exit 1; }
