"""The exceptions and warnings of the quorva package."""


class Error(Exception):
    """An error record of the engine: `number`, `severity` (5 error, 6 internal error) and
    `message` (as a person reads it)."""

    def __init__(self, number, severity, message):
        super().__init__(f"error {number}: {message}")
        self.number = number
        self.severity = severity
        self.message = message


class InternalError(Error):
    """An error record of severity 6: the engine found itself in a state it should never be in."""


class DeletedError(ReferenceError):
    """A Net or Node used after its net (or the node) was deleted."""


class QuorvaWarning(UserWarning):
    """A warning record of the engine; the operation went on."""


def _error_for(number, severity, message):
    cls = InternalError if severity >= 6 else Error
    return cls(number, severity, message)
