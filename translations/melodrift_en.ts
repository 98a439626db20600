<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en">
<context>
    <name></name>
    <message id="quality.small">
        <source>Small</source>
        <translation>Small</translation>
    </message>
    <message id="quality.medium">
        <source>Medium</source>
        <translation>Medium</translation>
    </message>
    <message id="quality.large">
        <source>Large</source>
        <translation>Large</translation>
    </message>
</context>
</TS>
