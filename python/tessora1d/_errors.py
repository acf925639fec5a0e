"""Exceptions raised by tessora1d."""
