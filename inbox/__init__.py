"""The inbox: receives crash reports, groups them by what crashed, and shows them in a browser. docs/inbox.md says how."""
