"""Checks packages against what Windows Installer and its makers demand of their tables."""
