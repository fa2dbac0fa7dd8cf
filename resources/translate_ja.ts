<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<!--
    Kept by hand: a scan of the sources would mark entries that no source names (the information box, the firmware
    note) as vanished, and the release tool would drop them. An entry without a translation is finished on purpose: it
    keeps its place and shows its English source text.
-->
<TS version="2.1" language="ja" sourcelanguage="en">
<context>
    <name>InformationBox</name>
    <message>
        <source>Do not show the same message again</source>
        <translation></translation>
    </message>
    <message>
        <source>Form</source>
        <translation></translation>
    </message>
    <message>
        <source>Update later</source>
        <translation></translation>
    </message>
    <message>
        <source>Update now</source>
        <translation></translation>
    </message>
</context>
<context>
    <name>MainWindow</name>
    <message>
        <source>         64 Samples</source>
        <translation></translation>
    </message>
    <message>
        <source>       128 Samples</source>
        <translation></translation>
    </message>
    <message>
        <source>       256 Samples</source>
        <translation></translation>
    </message>
    <message>
        <source>       512 Samples</source>
        <translation></translation>
    </message>
    <message>
        <source>     1024 Samples</source>
        <translation></translation>
    </message>
    <message>
        <source>     2048 Samples</source>
        <translation></translation>
    </message>
    <message>
        <source>- About...</source>
        <translation></translation>
    </message>
    <message>
        <source>- KD-MX2 Web Site</source>
        <translation></translation>
    </message>
    <message>
        <source>- Update</source>
        <translation></translation>
    </message>
    <message>
        <source>32 bit float</source>
        <translation></translation>
    </message>
    <message>
        <source>&lt;!DOCTYPE HTML PUBLIC &quot;-//W3C//DTD HTML 4.0//EN&quot; &quot;http://www.w3.org/TR/REC-html40/strict.dtd&quot;&gt;
&lt;html&gt;&lt;head&gt;&lt;meta name=&quot;qrichtext&quot; content=&quot;1&quot; /&gt;&lt;meta charset=&quot;utf-8&quot; /&gt;&lt;style type=&quot;text/css&quot;&gt;
p, li { white-space: pre-wrap; }
hr { height: 1px; border-width: 0; }
&lt;/style&gt;&lt;/head&gt;&lt;body style=&quot; font-family:'MS UI Gothic'; font-size:18pt; font-weight:400; font-style:normal;&quot;&gt;
&lt;p align=&quot;center&quot; style=&quot; margin-top:0px; margin-bottom:0px; margin-left:0px; margin-right:0px; -qt-block-indent:0; text-indent:0px;&quot;&gt;Device is not connected.&lt;/p&gt;&lt;/body&gt;&lt;/html&gt;</source>
        <translation></translation>
    </message>
    <message>
        <source>Audio Interface</source>
        <translation></translation>
    </message>
    <message>
        <source>File Missing!</source>
        <translation></translation>
    </message>
    <message>
        <source>OFF</source>
        <translation></translation>
    </message>
    <message>
        <source>ON</source>
        <translation></translation>
    </message>
    <message>
        <source>VELMAR KD-MX Series</source>
        <translation></translation>
    </message>
    <message>
        <source>There is a possibility that the file has been moved or deleted.</source>
        <translation></translation>
    </message>
    <message>
        <source>&lt;!DOCTYPE HTML PUBLIC &quot;-//W3C//DTD HTML 4.0//EN&quot; &quot;http://www.w3.org/TR/REC-html40/strict.dtd&quot;&gt;
&lt;html&gt;&lt;head&gt;&lt;meta name=&quot;qrichtext&quot; content=&quot;1&quot; /&gt;&lt;meta charset=&quot;utf-8&quot; /&gt;&lt;style type=&quot;text/css&quot;&gt;
p, li { white-space: pre-wrap; }
hr { height: 1px; border-width: 0; }
&lt;/style&gt;&lt;/head&gt;&lt;body style=&quot; font-family:'Arial'; font-size:11px; font-weight:400; font-style:normal;&quot;&gt;
&lt;p style=&quot; margin-top:0px; margin-bottom:0px; margin-left:0px; margin-right:0px; -qt-block-indent:0; text-indent:0px;&quot;&gt;Please confirm that the DAW application being used supports 32 bit float format before using this.&lt;/p&gt;&lt;/body&gt;&lt;/html&gt;</source>
        <translation>お使いになるDAWソフトウェアが32 bit float形式に対応していることを確認してから、ご利用ください。</translation>
    </message>
    <message>
        <source>&lt;!DOCTYPE HTML PUBLIC &quot;-//W3C//DTD HTML 4.0//EN&quot; &quot;http://www.w3.org/TR/REC-html40/strict.dtd&quot;&gt;
&lt;html&gt;&lt;head&gt;&lt;meta name=&quot;qrichtext&quot; content=&quot;1&quot; /&gt;&lt;meta charset=&quot;utf-8&quot; /&gt;&lt;style type=&quot;text/css&quot;&gt;
p, li { white-space: pre-wrap; }
hr { height: 1px; border-width: 0; }
&lt;/style&gt;&lt;/head&gt;&lt;body style=&quot; font-family:'Arial'; font-size:11px; font-weight:400; font-style:normal;&quot;&gt;
&lt;p style=&quot; margin-top:0px; margin-bottom:0px; margin-left:0px; margin-right:0px; -qt-block-indent:0; text-indent:0px;&quot;&gt;The lower the latency, the shorter the audio signal delay(latency).&lt;br /&gt;However, the lower setting, the greater the demand on the computer processor. &lt;/p&gt;&lt;/body&gt;&lt;/html&gt;</source>
        <translation>設定値が小さいほど、オーディオ信号の遅れが小さくなりますが、パソコンの高速処理が要求されます。</translation>
    </message>
    <message>
        <source>&lt;!DOCTYPE HTML PUBLIC &quot;-//W3C//DTD HTML 4.0//EN&quot; &quot;http://www.w3.org/TR/REC-html40/strict.dtd&quot;&gt;
&lt;html&gt;&lt;head&gt;&lt;meta name=&quot;qrichtext&quot; content=&quot;1&quot; /&gt;&lt;meta charset=&quot;utf-8&quot; /&gt;&lt;style type=&quot;text/css&quot;&gt;
p, li { white-space: pre-wrap; }
hr { height: 1px; border-width: 0; }
&lt;/style&gt;&lt;/head&gt;&lt;body style=&quot; font-family:'Arial'; font-size:11px; font-weight:400; font-style:normal;&quot;&gt;
&lt;p style=&quot; margin-top:0px; margin-bottom:0px; margin-left:0px; margin-right:0px; -qt-block-indent:0; text-indent:0px;&quot;&gt;This setting needs unit firmware version 1.30 or 1.10 or later, depending on the model.&lt;/p&gt;&lt;/body&gt;&lt;/html&gt;</source>
        <translation>この設定には、機種により本体ファームウェアのバージョン1.30以降または1.10以降が必要です。</translation>
    </message>
    <message>
        <source>Buffer Size</source>
        <translation>バッファサイズ</translation>
    </message>
    <message>
        <source>FAQs</source>
        <translation>FAQページ</translation>
    </message>
    <message>
        <source>Help</source>
        <translation>ヘルプ</translation>
    </message>
    <message>
        <source>Latency</source>
        <translation>入力遅延</translation>
    </message>
    <message>
        <source>License</source>
        <translation>ライセンス</translation>
    </message>
    <message>
        <source>Product Information</source>
        <translation>製品トップページ</translation>
    </message>
</context>
</TS>
