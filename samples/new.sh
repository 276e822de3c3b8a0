#!/bin/sh
# Sauvegarde des photos sur le disque externe
set -eu
rsync -a --info=progress2 "$HOME/Images/" "/media/sauvegarde/photos/"
