class FirmwareError(Exception):
    """A firmware image that cannot be read, or a change that cannot be made;
    the message says what and where."""
