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
    <message id="DownloadItem.Waiting">
        <source>Waiting</source>
        <translation>Waiting</translation>
    </message>
    <message id="DownloadItem.Downloading">
        <source>Downloading</source>
        <translation>Downloading</translation>
    </message>
    <message id="DownloadItem.Converting">
        <source>Converting</source>
        <translation>Converting</translation>
    </message>
    <message id="DownloadItem.Copying">
        <source>Copying</source>
        <translation>Copying</translation>
    </message>
    <message id="DownloadItem.Done">
        <source>Done</source>
        <translation>Done</translation>
    </message>
    <message id="DownloadItem.Canceled">
        <source>Canceled</source>
        <translation>Canceled</translation>
    </message>
    <message id="DownloadItem.Failed">
        <source>Failed</source>
        <translation>Failed</translation>
    </message>
</context>
</TS>
